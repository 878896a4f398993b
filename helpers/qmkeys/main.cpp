// qmkeys: tells the application when one of the eight modifier keys goes down or up, and that another key did; where a
// display server tells nobody. It is installed without any right; the administrator may give it the group that reads input
// devices. Because whoever starts it is not to be trusted with what it reads, it takes no arguments, and nothing from the
// environment.

#include "helpers/qmkeys/Confinement.h"
#include "helpers/qmkeys/KeysProgram.h"

#include <cstdlib>
#include <sys/auxv.h>

int main()
{
    if (getauxval(AT_SECURE) != 0) // otherwise it has no right but its user's
        clearenv();
    if (!qm::Confinement::keepOneGroup())
        return 1;
    return qm::runKeys(qm::followLogin());
}

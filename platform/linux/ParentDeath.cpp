#include "platform/ParentDeath.h"

#include <csignal>
#include <sys/prctl.h>

namespace qm {

void endWithParent()
{
    prctl(PR_SET_PDEATHSIG, SIGTERM); // prctl(2): sent already when the parent thread ends, not only its process
}

} // namespace qm

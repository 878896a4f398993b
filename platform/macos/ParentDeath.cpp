#include "platform/ParentDeath.h"

namespace qm {

// Not supported here. The text helper notices its closed pipe; helpers that wait for the user end with the user's
// choice.
void endWithParent() {}

} // namespace qm

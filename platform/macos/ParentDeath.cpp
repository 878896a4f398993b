#include "platform/ParentDeath.h"

namespace qm {

void endWithParent() {}

} // namespace qm

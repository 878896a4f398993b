#pragma once

#include "helpers/qmkeys/LoginSession.h"

#include <initializer_list>

namespace qm {

// The whole program: tells on standard output, in lines of KeyLines, what happens to the keys while the user's session is in
// front; before them "ready", once a keyboard could be opened. Ends when nobody reads any more. Gives the exit code: 1 if
// keyboards may not be read, or nobody tells whose they are.
int runKeys(const std::optional<LoginSession> &session, std::initializer_list<int> moreCalls = {});

} // namespace qm

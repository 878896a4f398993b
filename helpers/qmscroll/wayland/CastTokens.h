#pragma once

#include <string>

namespace qm {

// What the portal gave for not asking again which monitor may be seen: screencasts.json among the settings, for the user's
// eyes only. By the monitor's name.
namespace CastTokens {

std::string token(const std::string &monitor);                  // empty if there is none
void keep(const std::string &monitor, const std::string &next); // or forget, if it is empty; a failure costs a question

} // namespace CastTokens
} // namespace qm

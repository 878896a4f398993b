#pragma once

namespace qm {

class Curtain;

enum class CaptureMode { region, window };

// What qmcapture does once its curtain is up: lets the user choose and writes the picture. Its exit status; a failure has
// been told on stderr. It lives in qmcapture.so and is found by its name, because all that needs Qt is loaded only after
// the curtain is up.
using ChooseFunction = int (*)(Curtain &curtain, CaptureMode mode, const char *path);
constexpr char chooseFunctionName[] = "quillmereChoose";
constexpr char choiceLibraryName[] = "qmcapture.so"; // next to the program

} // namespace qm

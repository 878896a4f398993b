#pragma once

namespace qm {

class Curtain;

enum class CaptureMode { region, window };

// The rest of qmcapture after its curtain is up: lets the user choose and writes the picture. Returns the exit status;
// failures are reported on stderr. It lives in qmcapture.so and is looked up by name, because everything that needs Qt
// is loaded only after the curtain is up.
using ChooseFunction = int (*)(Curtain &curtain, CaptureMode mode, const char *path);
constexpr char chooseFunctionName[] = "quillmereChoose";
constexpr char choiceLibraryName[] = "qmcapture.so"; // next to the program

} // namespace qm

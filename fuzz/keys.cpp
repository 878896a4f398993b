// A libFuzzer target: what qmkeys says is true, complete, and no more than it promises, whatever its devices send. The input is
// a recording as evemu(1) makes it. In comments, device N says which device the next lines are of; lost and unplugged, what
// becomes of it.

#include "helpers/qmkeys/KeyLines.h"

#include <cstdlib>
#include <linux/input-event-codes.h>
#include <map>
#include <sstream>

using namespace qm;

namespace {

const std::map<std::string, uint16_t> modifiers = {{"leftShift", KEY_LEFTSHIFT},  {"rightShift", KEY_RIGHTSHIFT},
                                                   {"leftControl", KEY_LEFTCTRL}, {"rightControl", KEY_RIGHTCTRL},
                                                   {"leftOption", KEY_LEFTALT},   {"rightOption", KEY_RIGHTALT},
                                                   {"leftCommand", KEY_LEFTMETA}, {"rightCommand", KEY_RIGHTMETA}};

bool isModifier(uint16_t code)
{
    for (const auto &[name, known] : modifiers) {
        if (known == code)
            return true;
    }
    return false;
}

void demand(bool condition)
{
    if (!condition)
        std::abort();
}

class Listener
{
public:
    void hear(const std::string &lines)
    {
        std::istringstream all(lines);
        for (std::string line; std::getline(all, line);) {
            const std::string name = line.substr(line.find(' ') + 1);
            if (line == "key") {
                demand(!m_down.empty() && !m_isElse);
                m_isElse = true;
            } else if (line == "down " + name) {
                demand(m_down.insert(modifiers.at(name)).second);
                m_isElse = false;
            } else {
                demand(line == "up " + name && m_down.erase(modifiers.at(name)) == 1);
            }
        }
    }
    const std::set<uint16_t> &down() const { return m_down; }
    bool mayBeAGesture() const { return !m_down.empty() && !m_isElse; }

private:
    std::set<uint16_t> m_down;
    bool m_isElse = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    KeyLines lines;
    Listener listener;
    std::map<int, std::set<uint16_t>> truth; // modifier keys that are down on each device
    int device = 0;
    std::istringstream recording(std::string(reinterpret_cast<const char *>(data), size));
    for (std::string line; std::getline(recording, line);) {
        unsigned type = 0, code = 0, value = 0;
        int number = 0;
        const bool mayHaveBeen = listener.mayBeAGesture();
        if (std::sscanf(line.c_str(), "E: %*s %x %x %x", &type, &code, &value) == 3) {
            if (type == EV_REL) {
                listener.hear(lines.scrolled());
                demand(!listener.mayBeAGesture());
            } else if (type == EV_KEY && value < 2) {
                const auto key = uint16_t(code);
                if (isModifier(key) && value)
                    truth[device].insert(key);
                else
                    truth[device].erase(key);
                listener.hear(lines.changed(device, key, value == 1));
                demand(key >= BTN_MISC || isModifier(key) || !value || !listener.mayBeAGesture());
            }
        } else if (std::sscanf(line.c_str(), "# device %d", &number) == 1) {
            device = number & 3;
        } else if (line == "# lost") {
            listener.hear(lines.missed());
            demand(!listener.mayBeAGesture());
        } else if (line == "# unplugged") {
            const bool held = !truth[device].empty();
            truth.erase(device);
            listener.hear(lines.removed(device));
            demand(!held || !mayHaveBeen || !listener.mayBeAGesture());
        }
        std::set<uint16_t> all;
        for (const auto &[each, codes] : truth)
            all.insert(codes.begin(), codes.end());
        demand(all == listener.down());
    }
    return 0;
}

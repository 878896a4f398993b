#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace qm {

// What is told of all keyboards and pointers, as lines:
//
//     down rightShift    a modifier key went down: left or right, Shift, Control, Option (Alt) or Command (Super)
//     up rightShift      it went up; of several keyboards' keys of that name, the last
//     key                something else was pressed since the last "down", or a button is held, or that is not known
//
// Never which other key, nor how many, nor when nothing is held: who reads this learns neither what is typed nor its rhythm.
// Every "up" follows its "down", and after a "key" the modifier keys that are down are no gesture. No devices, no clock.
class KeyLines
{
public:
    using Device = int;

    // Codes of Linux's input-event-codes.h. Each gives the lines that it takes, mostly none.
    std::string changed(Device device, uint16_t code, bool isDown);
    std::string scrolled() { return somethingElse(); }
    std::string alreadyDown(Device device, const std::set<uint16_t> &codes); // of a device that is new
    std::string missed() { return somethingElse(); }                         // events were lost
    std::string removed(Device device);

private:
    static constexpr size_t modifierCount = 8;
    using Modifiers = std::bitset<modifierCount>;
    struct State {
        Modifiers modifiers;
        std::set<uint16_t> buttons;
    };

    Modifiers down() const;
    bool isButtonHeld() const;
    std::string somethingElse();
    std::string differences(const Modifiers &before);

    std::map<Device, State> m_devices;
    bool m_isElseTold = false; // since the last "down"
};

} // namespace qm

#pragma once

#include "helpers/qmkeys/KeyLines.h"

#include <libevdev/libevdev.h>
#include <libudev.h>
#include <map>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <vector>

namespace qm {

// Keyboards and pointers of one seat, read through evdev as they come and go. Never grabs or changes one. What cannot be
// opened is left out.
class InputDevices
{
public:
    enum class Access {
        unknown, // no keyboard has been seen
        refused,
        granted, // at least one could be opened
    };

    InputDevices();
    bool isWatching() const { return m_monitor != nullptr; } // otherwise nothing else may be called

    // Looks for devices anew. Without a seat all are closed: nothing is heard then, nor waiting to be heard later.
    std::string setSeat(const std::optional<std::string> &seat);
    Access access() const { return m_access; }

    void addTo(std::vector<pollfd> &waiting) const;
    std::string read(int descriptor); // of those, that has something to read; gives lines of KeyLines

private:
    struct Device {
        Device(int opened, libevdev *state);
        ~Device();
        Device(const Device &) = delete;
        Device &operator=(const Device &) = delete;

        const int descriptor;
        libevdev *const state;
    };
    template<auto release>
    struct Releasing {
        template<class T>
        void operator()(T *object) const
        {
            release(object);
        }
    };
    using UdevDevice = std::unique_ptr<udev_device, Releasing<udev_device_unref>>;

    std::string lookForDevices();
    std::string open(udev_device *found);
    std::string close(const std::string &path);
    std::string readMonitor();
    std::string readDevice(const std::string &path, Device &device);
    std::string told(Device &device, const input_event &event);

    std::unique_ptr<udev, Releasing<udev_unref>> m_udev;
    std::unique_ptr<udev_monitor, Releasing<udev_monitor_unref>> m_monitor;
    std::optional<std::string> m_seat;
    std::map<std::string, std::unique_ptr<Device>> m_devices; // by their paths in sysfs
    Access m_access = Access::unknown;
    KeyLines m_lines;
};

} // namespace qm

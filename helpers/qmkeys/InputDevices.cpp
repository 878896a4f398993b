#include "helpers/qmkeys/InputDevices.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qm {

namespace {

bool has(udev_device *device, const char *property)
{
    const char *value = udev_device_get_property_value(device, property);
    return value && std::strcmp(value, "1") == 0;
}

bool isKeyboard(udev_device *device)
{
    return has(device, "ID_INPUT_KEYBOARD");
}

bool concerns(udev_device *device)
{
    for (const char *kind : {"ID_INPUT_KEY", "ID_INPUT_KEYBOARD", "ID_INPUT_MOUSE", "ID_INPUT_TOUCHPAD",
                             "ID_INPUT_TABLET", "ID_INPUT_TOUCHSCREEN"}) {
        if (has(device, kind))
            return true;
    }
    return false;
}

std::string seatOf(udev_device *device)
{
    const char *seat = udev_device_get_property_value(device, "ID_SEAT");
    return seat && *seat ? seat : "seat0";
}

// The kernel then does not wake us for every movement of a mouse. Kernels that cannot, send everything.
void leaveOutMovements(int descriptor)
{
    std::array<uint8_t, REL_CNT / 8> wheels{};
    for (const int code : {REL_WHEEL, REL_HWHEEL})
        wheels[size_t(code / 8)] |= uint8_t(1 << code % 8);
    std::array<uint8_t, ABS_CNT / 8> positions{};
    std::array<uint8_t, MSC_CNT / 8> others{};
    const auto leaveOnly = [descriptor](uint32_t type, auto &codes) {
        const input_mask mask = {type, uint32_t(codes.size()), reinterpret_cast<uintptr_t>(codes.data())};
        ioctl(descriptor, EVIOCSMASK, &mask);
    };
    leaveOnly(EV_REL, wheels);
    leaveOnly(EV_ABS, positions);
    leaveOnly(EV_MSC, others);
}

std::set<uint16_t> keysDown(const libevdev *state)
{
    std::set<uint16_t> codes;
    for (unsigned code = 0; code < KEY_CNT; ++code) {
        if (libevdev_get_event_value(state, EV_KEY, code) != 0)
            codes.insert(uint16_t(code));
    }
    return codes;
}

} // namespace

InputDevices::Device::Device(int opened, libevdev *read)
    : descriptor(opened)
    , state(read)
{
}

InputDevices::Device::~Device()
{
    libevdev_free(state);
    ::close(descriptor);
}

InputDevices::InputDevices()
    : m_udev(udev_new())
{
    if (!m_udev)
        return;
    // What udev tells has its permissions already, unlike what the kernel does.
    m_monitor.reset(udev_monitor_new_from_netlink(m_udev.get(), "udev"));
    if (m_monitor && (udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), "input", nullptr) < 0 ||
                      udev_monitor_enable_receiving(m_monitor.get()) < 0))
        m_monitor.reset();
}

std::string InputDevices::setSeat(const std::optional<std::string> &seat)
{
    if (m_seat == seat && seat)
        return {};
    m_seat = seat;
    std::string lines;
    while (!m_devices.empty())
        lines += close(m_devices.begin()->first);
    return lines + lookForDevices();
}

std::string InputDevices::lookForDevices()
{
    const std::unique_ptr<udev_enumerate, Releasing<udev_enumerate_unref>> all(udev_enumerate_new(m_udev.get()));
    udev_enumerate_add_match_subsystem(all.get(), "input");
    udev_enumerate_scan_devices(all.get());
    std::string lines;
    udev_list_entry *entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(all.get()))
    {
        const UdevDevice found(udev_device_new_from_syspath(m_udev.get(), udev_list_entry_get_name(entry)));
        if (found)
            lines += open(found.get());
    }
    return lines;
}

// Without a seat only to see whether it may be.
std::string InputDevices::open(udev_device *found)
{
    const char *node = udev_device_get_devnode(found);
    const std::string path = udev_device_get_syspath(found);
    if (!node || std::strncmp(udev_device_get_sysname(found), "event", 5) != 0 || !concerns(found) ||
        m_devices.count(path) != 0 || (m_seat && seatOf(found) != *m_seat))
        return {};
    const int descriptor = ::open(node, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (isKeyboard(found) && m_access != Access::granted && (descriptor >= 0 || errno == EACCES || errno == EPERM))
        m_access = descriptor >= 0 ? Access::granted : Access::refused;
    libevdev *state = nullptr;
    if (descriptor < 0)
        return {};
    if (!m_seat || libevdev_new_from_fd(descriptor, &state) < 0) {
        ::close(descriptor);
        return {};
    }
    leaveOutMovements(descriptor);
    m_devices.emplace(path, std::make_unique<Device>(descriptor, state));
    return m_lines.alreadyDown(descriptor, keysDown(state));
}

std::string InputDevices::close(const std::string &path)
{
    const auto device = m_devices.find(path);
    if (device == m_devices.end())
        return {};
    const std::string lines = m_lines.removed(device->second->descriptor);
    m_devices.erase(device);
    return lines;
}

void InputDevices::addTo(std::vector<pollfd> &waiting) const
{
    waiting.push_back({udev_monitor_get_fd(m_monitor.get()), POLLIN, 0});
    for (const auto &[path, device] : m_devices)
        waiting.push_back({device->descriptor, POLLIN, 0});
}

std::string InputDevices::read(int descriptor)
{
    if (descriptor == udev_monitor_get_fd(m_monitor.get()))
        return readMonitor();
    for (const auto &[path, device] : m_devices) {
        if (device->descriptor == descriptor)
            return readDevice(path, *device);
    }
    return {};
}

std::string InputDevices::readMonitor()
{
    const UdevDevice found(udev_monitor_receive_device(m_monitor.get()));
    if (!found && errno != EAGAIN && errno != EINTR) {
        // News was lost, or is still there and would wake us without end. What it told of is there to be seen.
        char start = 0;
        [[maybe_unused]] const ssize_t taken = ::read(udev_monitor_get_fd(m_monitor.get()), &start, 1);
        return lookForDevices();
    }
    const char *action = found ? udev_device_get_action(found.get()) : nullptr;
    if (!action)
        return {};
    return std::strcmp(action, "remove") == 0 ? close(udev_device_get_syspath(found.get())) : open(found.get());
}

std::string InputDevices::readDevice(const std::string &path, Device &device)
{
    std::string lines;
    input_event event{};
    for (;;) {
        int status = libevdev_next_event(device.state, LIBEVDEV_READ_FLAG_NORMAL, &event);
        if (status == LIBEVDEV_READ_STATUS_SYNC) {
            // The kernel's buffer ran over (SYN_DROPPED). What is missing is known only by what is different now.
            lines += m_lines.missed();
            while ((status = libevdev_next_event(device.state, LIBEVDEV_READ_FLAG_SYNC, &event)) ==
                   LIBEVDEV_READ_STATUS_SYNC)
                lines += told(device, event);
            lines += m_lines.missed();
        } else if (status == LIBEVDEV_READ_STATUS_SUCCESS) {
            lines += told(device, event);
        }
        if (status == -EAGAIN)
            return lines;
        if (status < 0)
            return lines + close(path); // unplugged
    }
}

std::string InputDevices::told(Device &device, const input_event &event)
{
    constexpr int repeated = 2;
    if (event.type == EV_KEY && event.value != repeated)
        return m_lines.changed(device.descriptor, event.code, event.value != 0);
    const bool isWheel = event.type == EV_REL && (event.code == REL_WHEEL || event.code == REL_HWHEEL);
    return isWheel ? m_lines.scrolled() : std::string();
}

} // namespace qm

#include "helpers/wayland/desktop/KWinScreenShot.h"

#include "helpers/wayland/desktop/PictureOfImage.h"
#include "helpers/wayland/desktop/UserBus.h"

#include <QImage>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <map>
#include <poll.h>
#include <unistd.h>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto limit = 5s; // it takes a tenth of a second
constexpr uint32_t largestSide = 32767;

// The answer's numbers; it has texts, too, which are not needed.
std::map<std::string, uint32_t, std::less<>> numbersOf(sd_bus_message *answer)
{
    std::map<std::string, uint32_t, std::less<>> numbers;
    readEntries(answer, [&](std::string_view key, std::string_view type) {
        uint32_t number = 0;
        if (type != "u" || sd_bus_message_read(answer, "v", "u", &number) <= 0)
            return false;
        numbers[std::string(key)] = number;
        return true;
    });
    return numbers;
}

// False if it does not all come in time.
bool readAll(int file, uchar *to, size_t count)
{
    for (size_t received = 0; received < count;) {
        pollfd ready = {file, POLLIN, 0};
        const int isReady = poll(&ready, 1, int(std::chrono::milliseconds(limit).count()));
        const ssize_t got = isReady > 0 ? read(file, to + received, count - received) : isReady;
        if (got < 0 && errno == EINTR)
            continue; // what the signal is about is asked elsewhere
        if (got <= 0)
            return false;
        received += size_t(got);
    }
    return true;
}

// What the answer says is not taken on trust: a wrong size would be read beyond the memory.
QImage received(int file, const std::map<std::string, uint32_t, std::less<>> &numbers)
{
    const auto number = [&numbers](const char *key) {
        const auto found = numbers.find(key);
        return found == numbers.end() ? 0 : found->second;
    };
    const uint32_t width = number("width"), height = number("height"), stride = number("stride");
    const auto format = QImage::Format(number("format"));
    if (width < 1 || width > largestSide || height < 1 || height > largestSide || stride > largestSide * 8 ||
        format <= QImage::Format_Indexed8 || format >= QImage::NImageFormats)
        return {};
    QImage image(int(width), int(height), format);
    if (image.isNull() || stride < uint32_t(image.depth()) / 8 * width)
        return {};
    if (qsizetype(stride) == image.bytesPerLine())
        return readAll(file, image.bits(), size_t(image.sizeInBytes())) ? image : QImage();
    std::vector<uchar> row(stride);
    for (int y = 0; y < image.height(); ++y) {
        if (!readAll(file, row.data(), row.size()))
            return {};
        std::copy_n(row.data(), std::min(size_t(stride), size_t(image.bytesPerLine())), image.scanLine(y));
    }
    return image;
}

// name says of what: the method's arguments before the options.
QImage takeOne(const UserBus &bus, const char *method, const std::function<int(sd_bus_message *)> &name)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {};
    BusMessage question = bus.newCall("org.kde.KWin", "/org/kde/KWin/ScreenShot2", "org.kde.KWin.ScreenShot2", method);
    BusMessage answer;
    if (question && name(question.get()) >= 0 &&
        sd_bus_message_append(question.get(), "a{sv}h", 3, "native-resolution", "b", 1, "include-decoration", "b", 1,
                              "include-shadow", "b", 0, ends[1]) >= 0)
        answer = bus.call(question, limit);
    question.reset(); // it has a copy of the writing end: as long as that is open, the reading end never ends
    close(ends[1]);
    const QImage image = answer ? received(ends[0], numbersOf(answer.get())) : QImage();
    close(ends[0]);
    return image;
}

QImage takeNamed(const UserBus &bus, const char *method, const std::string &name)
{
    return takeOne(bus, method,
                   [&name](sd_bus_message *question) { return sd_bus_message_append(question, "s", name.c_str()); });
}

// The screen is opaque, whatever an answer says of its format.
QImage opaque(QImage image)
{
    if (image.format() == QImage::Format_ARGB32 || image.format() == QImage::Format_ARGB32_Premultiplied)
        image.reinterpretAsFormat(QImage::Format_RGB32);
    return image.convertToFormat(QImage::Format_RGB32);
}

} // namespace

std::vector<OutputPicture> KWinScreenShot::take(const UserBus &bus, const WaylandOutputs &outputs)
{
    std::vector<OutputPicture> pictures;
    for (const std::unique_ptr<WaylandOutput> &output : outputs.all()) {
        const QImage image = takeMonitor(bus, output->name);
        if (image.isNull())
            return {};
        pictures.push_back(pictureOf(image));
    }
    return pictures;
}

QImage KWinScreenShot::takeMonitor(const UserBus &bus, const std::string &name)
{
    return opaque(takeNamed(bus, "CaptureScreen", name));
}

QImage KWinScreenShot::takeArea(const UserBus &bus, const QRect &area)
{
    return opaque(takeOne(bus, "CaptureArea", [&area](sd_bus_message *question) {
        return sd_bus_message_append(question, "iiuu", area.x(), area.y(), area.width(), area.height());
    }));
}

QImage KWinScreenShot::takeWindow(const UserBus &bus, const std::string &id)
{
    QImage image = takeNamed(bus, "CaptureWindow", id);
    if (image.format() == QImage::Format_ARGB32) // is what KWin 5.27 says
        image.reinterpretAsFormat(QImage::Format_ARGB32_Premultiplied);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace qm

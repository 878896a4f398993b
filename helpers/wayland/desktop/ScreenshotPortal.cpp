#include "helpers/wayland/desktop/ScreenshotPortal.h"

#include "helpers/wayland/desktop/PictureOfImage.h"
#include "helpers/wayland/desktop/UserBus.h"

#include <QElapsedTimer>
#include <QFile>
#include <QImageReader>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <optional>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr char service[] = "org.freedesktop.portal.Desktop";
constexpr char requests[] = "org.freedesktop.portal.Request";
constexpr auto startLimit = 10s; // for the portal itself, which the call may start
constexpr auto questionLimit = 60s;
constexpr auto humanly = 50ms;       // no user answers faster
constexpr int largestPicture = 2048; // MB
constexpr char token[] = "quillmere";

struct Response {
    std::optional<uint32_t> code = {};
    QString uri = {};
};

int responded(sd_bus_message *message, void *data, sd_bus_error *)
{
    Response &response = *static_cast<Response *>(data);
    uint32_t code = 2;
    if (sd_bus_message_read(message, "u", &code) < 0 || sd_bus_message_enter_container(message, 'a', "{sv}") < 0)
        return 0;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char *key = nullptr, *content = nullptr, *text = nullptr;
        if (sd_bus_message_read(message, "s", &key) < 0)
            break;
        sd_bus_message_peek_type(message, nullptr, &content);
        if (std::string_view(key) == "uri" && content && *content == 's' &&
            sd_bus_message_read(message, "v", "s", &text) > 0)
            response.uri = QString::fromUtf8(text);
        else
            sd_bus_message_skip(message, "v");
        sd_bus_message_exit_container(message);
    }
    response.code = code;
    return 0;
}

// Where the answer will come, which is known before the question is asked: it may come before the call returns.
std::string requestPath(const UserBus &bus)
{
    const char *name = nullptr;
    if (!bus.get() || sd_bus_get_unique_name(bus.get(), &name) < 0)
        return {};
    std::string sender = name + 1; // without its colon
    std::replace(sender.begin(), sender.end(), '.', '_');
    return "/org/freedesktop/portal/desktop/request/" + sender + '/' + token;
}

// Whether the user's answer to the question for permission is kept, and was no. It is kept by application: programs outside of
// sandboxes have no name there, or that of their desktop file.
bool isDenied(const UserBus &bus)
{
    const BusMessage question =
        bus.newCall("org.freedesktop.impl.portal.PermissionStore", "/org/freedesktop/impl/portal/PermissionStore",
                    "org.freedesktop.impl.portal.PermissionStore", "Lookup");
    if (!question || sd_bus_message_append(question.get(), "ss", "screenshot", "screenshot") < 0)
        return false;
    const BusMessage answer = bus.call(question, startLimit);
    if (!answer || sd_bus_message_enter_container(answer.get(), 'a', "{sas}") < 0)
        return false;
    bool isDenied = false;
    while (sd_bus_message_enter_container(answer.get(), 'e', "sas") > 0) {
        const char *application = "", *permission = "";
        if (sd_bus_message_read(answer.get(), "s", &application) < 0 ||
            sd_bus_message_enter_container(answer.get(), 'a', "s") < 0)
            return false;
        const bool isOurs = !*application || std::string_view(application) == "org.quillmere.Quillmere";
        while (sd_bus_message_read(answer.get(), "s", &permission) > 0)
            isDenied |= isOurs && std::string_view(permission) == "no";
        sd_bus_message_exit_container(answer.get());
        sd_bus_message_exit_container(answer.get());
    }
    return isDenied;
}

ScreenshotPortal::Answer takenFrom(const QString &uri)
{
    using Kind = ScreenshotPortal::Answer::Kind;
    const QString path = QUrl(uri).toLocalFile();
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    // A PNG file, as every desktop writes it. ImageFile would have the libraries of all its formats loaded with qmscroll.
    QImageReader::setAllocationLimit(largestPicture);
    const QImage picture = QImageReader(&file).read();
    return {picture.isNull() ? Kind::failed : Kind::picture, picture, path};
}

} // namespace

ScreenshotPortal::Answer ScreenshotPortal::take(const UserBus &bus, Manner manner)
{
    using Kind = Answer::Kind;
    const bool isSilent = manner == Manner::silent;
    const std::string path = requestPath(bus);
    Response response;
    sd_bus_slot *slot = nullptr;
    if (path.empty() ||
        sd_bus_match_signal(bus.get(), &slot, nullptr, path.c_str(), requests, "Response", responded, &response) < 0)
        return {};
    const BusSlot listening(slot);
    const BusMessage question =
        bus.newCall(service, "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Screenshot", "Screenshot");
    if (!question || sd_bus_message_append(question.get(), "sa{sv}", "", 2, "handle_token", "s", token, "interactive",
                                           "b", isSilent ? 0 : 1) < 0)
        return {};
    if (!bus.call(question, startLimit))
        return {.kind = isSilent ? Kind::refused : Kind::failed};
    QElapsedTimer asked; // not before: the call may have had to start the portal
    asked.start();
    if (!bus.waitFor([&response] { return response.code.has_value(); }, questionLimit)) {
        bus.call(bus.newCall(service, path.c_str(), requests, "Close"), startLimit); // or the dialog stays
        return {};
    }
    if (response.code == 0U)
        return takenFrom(response.uri);
    if (response.code == 1U || (isSilent && std::chrono::milliseconds(asked.elapsed()) >= humanly))
        return {.kind = Kind::cancelled};
    return {.kind = !isSilent ? Kind::failed : isDenied(bus) ? Kind::denied : Kind::refused};
}

std::vector<OutputPicture> ScreenshotPortal::cut(const QImage &picture, const WaylandOutputs &outputs)
{
    if (picture.isNull())
        return {};
    QRect all;
    for (const std::unique_ptr<WaylandOutput> &output : outputs.all())
        all |= output->logical;
    const double scale = double(picture.width()) / all.width();
    if (std::abs(picture.height() - all.height() * scale) > 1)
        return {};
    std::vector<OutputPicture> pictures;
    for (const std::unique_ptr<WaylandOutput> &output : outputs.all()) {
        const QRect place = output->logical.translated(-all.topLeft());
        const auto pixel = [scale](int at) { return int(std::lround(at * scale)); };
        const QRect part(QPoint(pixel(place.left()), pixel(place.top())),
                         QPoint(pixel(place.right() + 1) - 1, pixel(place.bottom() + 1) - 1));
        QImage shown = picture.copy(part);
        if (shown.size() != output->pixels())
            shown = shown.scaled(output->pixels(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        pictures.push_back(pictureOf(shown));
    }
    return pictures;
}

} // namespace qm

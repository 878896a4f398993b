#include "helpers/wayland/desktop/ScreenshotPortal.h"

#include "helpers/wayland/desktop/PictureOfImage.h"
#include "helpers/wayland/desktop/PortalRequest.h"
#include "helpers/wayland/desktop/UserBus.h"

#include <QElapsedTimer>
#include <QFile>
#include <QImageReader>
#include <QUrl>

#include <cmath>
#include <optional>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto storeLimit = 10s;     // the call may start it
constexpr auto humanly = 50ms;       // no user answers faster
constexpr int largestPicture = 2048; // MB

QString uriIn(sd_bus_message *results)
{
    QString uri;
    readEntries(results, [&](std::string_view key, std::string_view type) {
        const char *text = nullptr;
        if (key != "uri" || type != "s" || sd_bus_message_read(results, "v", "s", &text) <= 0)
            return false;
        uri = QString::fromUtf8(text);
        return true;
    });
    return uri;
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
    const BusMessage answer = bus.call(question, storeLimit);
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
    PortalRequest request(bus);
    const BusMessage question =
        bus.newCall(PortalRequest::service, PortalRequest::object, "org.freedesktop.portal.Screenshot", "Screenshot");
    if (!question || sd_bus_message_append(question.get(), "sa{sv}", "", 2, "handle_token", "s",
                                           request.token().c_str(), "interactive", "b", isSilent ? 0 : 1) < 0)
        return {};
    if (!request.send(question))
        return {.kind = isSilent ? Kind::refused : Kind::failed};
    QElapsedTimer asked; // not before: the call may have had to start the portal
    asked.start();
    const std::optional<uint32_t> code = request.wait();
    if (!code)
        return {};
    if (code == 0U)
        return takenFrom(uriIn(request.results()));
    if (code == 1U || (isSilent && std::chrono::milliseconds(asked.elapsed()) >= humanly))
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

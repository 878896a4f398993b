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
constexpr auto firstLimit = 1s;      // the same, while the picture waits for it
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

// What is kept of the user's answer to the question for permission: no, or that it is to be asked each time. It is kept by
// application: programs outside of sandboxes have no name there, or that of their desktop file.
struct Permission {
    int noes = 0;
    bool isAsked = false;
};

// Empty if it is not said in time.
std::optional<Permission> permission(const UserBus &bus, std::chrono::milliseconds limit)
{
    const BusMessage question =
        bus.newCall("org.freedesktop.impl.portal.PermissionStore", "/org/freedesktop/impl/portal/PermissionStore",
                    "org.freedesktop.impl.portal.PermissionStore", "Lookup");
    if (!question || sd_bus_message_append(question.get(), "ss", "screenshot", "screenshot") < 0)
        return {};
    const BusMessage answer = bus.call(question, limit);
    if (!answer || sd_bus_message_enter_container(answer.get(), 'a', "{sas}") < 0)
        return {};
    Permission kept;
    while (sd_bus_message_enter_container(answer.get(), 'e', "sas") > 0) {
        const char *application = "", *answered = "";
        if (sd_bus_message_read(answer.get(), "s", &application) < 0 ||
            sd_bus_message_enter_container(answer.get(), 'a', "s") < 0)
            return {};
        const bool isOurs = !*application || std::string_view(application) == "org.quillmere.Quillmere";
        while (sd_bus_message_read(answer.get(), "s", &answered) > 0) {
            kept.noes += isOurs && std::string_view(answered) == "no";
            kept.isAsked |= isOurs && std::string_view(answered) == "ask";
        }
        sd_bus_message_exit_container(answer.get());
        sd_bus_message_exit_container(answer.get());
    }
    return kept;
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
    const std::optional<Permission> before = isSilent ? permission(bus, firstLimit) : std::nullopt;
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
    if (code == 1U)
        return {.kind = Kind::cancelled};
    if (!isSilent)
        return {};
    const bool hasAskedNobody = std::chrono::milliseconds(asked.elapsed()) < humanly;
    // A no is told with the same code as the failure of what the portal itself asks for the picture, but it is kept.
    const Permission now =
        hasAskedNobody && before ? *before : permission(bus, storeLimit).value_or(before.value_or(Permission()));
    const bool isNew = before && now.noes > before->noes;
    if (now.noes > 0 && !isNew)
        return {.kind = Kind::denied};
    if (hasAskedNobody)
        return {.kind = Kind::refused};
    return {.kind = isNew || now.isAsked ? Kind::cancelled : Kind::failed};
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

#include "platform/linux/DataControl.h"

#include "platform/wayland/ReaderPipe.h"
#include "platform/wayland/WaylandServer.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QImage>

#include <protocol/data-control.h>
#include <thread>
#include <wayland-client-protocol.h>

namespace qm {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

constexpr auto endLimit = 500ms;

const QStringList textTypes = {u"text/plain;charset=utf-8"_s, u"text/plain"_s, u"UTF8_STRING"_s, u"STRING"_s,
                               u"TEXT"_s};
const QString pictureOfQt = u"application/x-qt-image"_s; // stands for every format that Qt can write
struct PictureType {
    QString type;
    const char *format;
};
const QList<PictureType> pictureTypes = {{u"image/bmp"_s, "BMP"}, {u"image/jpeg"_s, "JPEG"}};

// The names under which other programs look for it.
QStringList typesOf(const QMimeData &content)
{
    QStringList types = content.formats();
    if (content.hasText())
        types += textTypes;
    if (types.removeAll(pictureOfQt) > 0) {
        for (const PictureType &picture : pictureTypes)
            types.append(picture.type);
    }
    types.removeDuplicates();
    return types;
}

QByteArray bytesOf(const QMimeData &content, const QString &type)
{
    if (content.hasFormat(type))
        return content.data(type);
    if (textTypes.contains(type))
        return content.text().toUtf8();
    for (const PictureType &picture : pictureTypes) {
        if (picture.type == type) {
            QBuffer file;
            file.open(QIODevice::WriteOnly);
            content.imageData().value<QImage>().save(&file, picture.format);
            return file.data();
        }
    }
    return {};
}

} // namespace

DataControl *DataControl::shared()
{
    static std::unique_ptr<DataControl> only;
    static bool wasTried = false;
    if (!wasTried && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        only.reset(new DataControl);
        qAddPostRoutine([] { only.reset(); }); // the content is Qt's
    }
    wasTried = true;
    if (only && !only->isUsable())
        only.reset();
    return only.get();
}

DataControl::Connection::~Connection() = default;

DataControl::DataControl()
    : m_connection(std::make_shared<Connection>())
{
    m_connection->server = WaylandServer::connect();
    const WaylandServer *server = m_connection->server.get();
    if (!server)
        return;
    m_seat = server->bind<wl_seat>(wl_seat_interface, 1);
    m_manager = server->bind<zwlr_data_control_manager_v1>(zwlr_data_control_manager_v1_interface, 1);
    if (!m_seat || !m_manager)
        return;
    m_device = zwlr_data_control_manager_v1_get_data_device(m_manager, m_seat);
    static constexpr zwlr_data_control_device_v1_listener listener = {
        // What others offer is read by Qt.
        .data_offer = [](void *, zwlr_data_control_device_v1 *,
                         zwlr_data_control_offer_v1 *offer) { zwlr_data_control_offer_v1_destroy(offer); },
        .selection = [](void *, zwlr_data_control_device_v1 *, zwlr_data_control_offer_v1 *) {},
        .finished = [](void *connection,
                       zwlr_data_control_device_v1 *) { static_cast<Connection *>(connection)->ends = true; },
    };
    zwlr_data_control_device_v1_add_listener(m_device, &listener, m_connection.get());
    m_answers = std::thread([connection = m_connection] {
        while (!connection->ends && connection->server->dispatch(1h)) {
        }
        connection->isOver = true;
    });
}

DataControl::~DataControl()
{
    if (m_answers.joinable()) {
        m_connection->ends = true;
        wl_callback *wake = wl_display_sync(m_connection->server->get()); // whose answer ends the thread's waiting
        wl_display_flush(m_connection->server->get());
        const QDeadlineTimer deadline(endLimit);
        while (!m_connection->isOver && !deadline.hasExpired())
            std::this_thread::sleep_for(1ms);
        if (!m_connection->isOver) {
            m_answers.detach();
            return;
        }
        m_answers.join();
        wl_callback_destroy(wake);
    }
    if (m_device)
        zwlr_data_control_device_v1_destroy(m_device);
    if (m_manager)
        zwlr_data_control_manager_v1_destroy(m_manager);
    if (m_seat)
        wl_seat_destroy(m_seat);
}

bool DataControl::isUsable() const
{
    return m_device && !m_connection->isOver;
}

void DataControl::set(std::unique_ptr<QMimeData> content)
{
    zwlr_data_control_source_v1 *source = nullptr;
    m_offer.reset(); // its source lives until the compositor has cancelled it
    if (content) {
        source = zwlr_data_control_manager_v1_create_data_source(m_manager);
        for (const QString &type : typesOf(*content))
            zwlr_data_control_source_v1_offer(source, type.toUtf8().constData());
        static constexpr zwlr_data_control_source_v1_listener listener = {
            .send =
                [](void *offer, zwlr_data_control_source_v1 *, const char *type, int32_t file) {
                    const QMimeData &offered = *(*static_cast<std::shared_ptr<Offer> *>(offer))->content;
                    std::thread([file, bytes = bytesOf(offered, QString::fromUtf8(type))] {
                        writeToReader(file, {bytes.constData(), size_t(bytes.size())});
                    }).detach();
                },
            .cancelled =
                [](void *data, zwlr_data_control_source_v1 *cancelled) {
                    zwlr_data_control_source_v1_destroy(cancelled);
                    std::unique_ptr<std::shared_ptr<Offer>> offer(static_cast<std::shared_ptr<Offer> *>(data));
                    // The content goes where it came from.
                    QMetaObject::invokeMethod(qApp, [gone = std::move(*offer)] { gone->content.reset(); });
                },
        };
        m_offer = std::make_shared<Offer>(Offer{std::move(content)});
        zwlr_data_control_source_v1_add_listener(source, &listener, new std::shared_ptr<Offer>(m_offer));
    }
    zwlr_data_control_device_v1_set_selection(m_device, source);
    wl_display_flush(m_connection->server->get());
}

} // namespace qm

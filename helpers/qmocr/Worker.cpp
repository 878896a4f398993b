#include "helpers/qmocr/Worker.h"

#include "helpers/qmocr/Preprocess.h"
#include "helpers/qmocr/ProcessControl.h"
#include "helpers/qmocr/Supervisor.h"
#include "helpers/qmocr/Text.h"
#include "helpers/qmocr/TextReader.h"
#include "helpers/qmocr/WireFormat.h"
#include "helpers/sandbox/Sandbox.h"
#include "imaging/ImageFile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <optional>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace qm::ocr {

using Kind = Reply::Kind;

namespace {

// The pipe to the parent, moved away from standard output, where a library might print. What libraries say on standard
// error is dropped as well: the parent tells why there is no text, once and in its own words.
class ReplyPipe
{
public:
    ReplyPipe()
        : m_descriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3))
    {
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
    }

    void send(Kind kind, const QByteArray &payload = {}) const
    {
        const QByteArray message = encoded(Reply{kind, payload});
        for (qsizetype done = 0; done < message.size();) {
            const ssize_t n = write(m_descriptor, message.constData() + done, size_t(message.size() - done));
            if (n < 0 && errno != EINTR)
                std::_Exit(0); // nobody listens any more
            done += std::max<ssize_t>(n, 0);
        }
    }

private:
    int m_descriptor;
};

} // namespace

static void send(Kind kind, const QList<Line> &lines, Boxes boxes, const ReplyPipe &replies)
{
    if (boxes == Boxes::yes)
        replies.send(Kind::places, QJsonDocument(placesOf(lines)).toJson(QJsonDocument::Compact));
    replies.send(kind, textOf(lines).toUtf8());
}

static void read(TextReader &reader, const QString &path, Boxes boxes, const ReplyPipe &replies)
{
    const QFileInfo info(path);
    if (!info.exists())
        return replies.send(Kind::passingError, "no such file");
    if (!info.isFile())
        return replies.send(Kind::passingError, "not a file"); // opening a named pipe would block
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return replies.send(Kind::passingError, file.errorString().toUtf8());

    ImageFile::Result opened = ImageFile::load(file);
    if (opened.failure == ImageFile::Failure::tooLarge)
        return replies.send(Kind::lastingError, "too large");
    if (file.error() == QFileDevice::ReadError)
        return replies.send(Kind::passingError, file.errorString().toUtf8());
    if (opened.failure != ImageFile::Failure::none || opened.image.isNull())
        return replies.send(Kind::lastingError, "not a readable picture");
    // Half of it would be kept as all there is, for nobody asks again once a text is there.
    if (opened.isCut && !isSettled(info.lastModified(), QDateTime::currentDateTimeUtc()))
        return replies.send(Kind::passingError, "incomplete, perhaps still being written");

    const QImage gray = toGray(std::exchange(opened.image.pixels, {}));
    if (gray.isNull())
        return replies.send(Kind::lastingError, "not enough memory");
    replies.send(Kind::pixels, QByteArray::number(qint64(gray.width()) * gray.height()));
    const QList<Line> first = reader.first(gray);
    send(Kind::firstText, first, boxes, replies);
    send(Kind::text, reader.second(gray, first, boxes), boxes, replies);
}

int runWorker(const QString &languages, quint64 memoryLimit, Boxes boxes)
{
    const ReplyPipe replies;
    setpriority(PRIO_PROCESS, 0, 10); // in the background
    Sandbox::limit(memoryLimit);
    const bool confined = Sandbox::enterForGood();
    endWhenHungUp(STDIN_FILENO);
    std::optional<TextReader> reader;

    MessageSplitter requests;
    for (QByteArray buffer(8192, Qt::Uninitialized);;) {
        const ssize_t n = ::read(STDIN_FILENO, buffer.data(), size_t(buffer.size()));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return 0;
        const QList<QByteArray> paths = requests.take(buffer.first(n));
        for (const QByteArray &path : paths) {
            try {
                if (!reader)
                    reader.emplace(languages);
            } catch (const std::bad_alloc &) {
                replies.send(Kind::passingError, "not enough memory for the language data");
                continue;
            }
            replies.send(Kind::begun);
            if (!confined) {
                replies.send(Kind::passingError, "this system cannot confine the process that reads pictures");
                continue;
            }
            if (!reader->isReady()) {
                replies.send(Kind::noData);
                continue;
            }
            try {
                read(*reader, QFile::decodeName(path), boxes, replies);
            } catch (const std::bad_alloc &) {
                replies.send(Kind::lastingError, "not enough memory");
            }
        }
    }
}

} // namespace qm::ocr

#include "capture/CaptureRunner.h"

#include "config/CaptureNames.h"
#include "config/ConfigStore.h"
#include "config/UnfinishedPictures.h"
#include "imaging/Thumbnailer.h"
#include "platform/ChildProcess.h"
#include "platform/ToolPaths.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>

namespace qm {

namespace {

using Way = CaptureTool::Request::Way;

constexpr int mostAtOnce = 16;         // captures waiting for a user; far more than anyone starts
constexpr double tallThumbnail = 4000; // pixels; the upper end of it is shown
const QString textFolder = QStringLiteral("quillmere-text."); // followed by what makes it unique

QRect rectangle(const QJsonArray &numbers)
{
    return numbers.size() == 4 ? QRect(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt(), numbers[3].toInt())
                               : QRect();
}

// What a helper complains about: its last line, without its name.
QString complaint(const QByteArray &errors)
{
    const QByteArray line = errors.trimmed().split('\n').last();
    return QString::fromLocal8Bit(line.mid(line.indexOf(": ") + 1).trimmed());
}

// The tool's one line of JSON, if it writes one: macOS's own leaves only a file, or none. Reads the picture. std::nullopt
// if the user cancelled.
std::optional<CaptureResult> captured(const CaptureTool::Request &request, const QString &path, const QString &tool)
{
    const auto said = ChildProcess::run(tool, CaptureTool::arguments(request, path));
    CaptureResult result;
    const QJsonObject what = QJsonDocument::fromJson(said ? said->output : QByteArray()).object();
    result.path = what[QStringLiteral("file")].toString(path);
    result.area = rectangle(what[QStringLiteral("area")].toArray());
    result.isRegion = what[QStringLiteral("what")] == QStringLiteral("region");
    result.color = what[QStringLiteral("color")].toString();
    result.error = what[QStringLiteral("error")].toString();
    if (!result.color.isEmpty())
        return result;
    const QString unsaved = what[QStringLiteral("unsaved")].toString();
    result.picture = Pasteboard::contentOf(result.error.isEmpty() ? result.path : unsaved);
    if (result.picture.image.isNull() && result.error.isEmpty())
        result.error = complaint(said ? said->errors : "the capture tool cannot be started");
    result.isDenied = said && said->exitCode == CaptureTool::deniedStatus;
    return result.picture.image.isNull() && result.error.isEmpty() ? std::nullopt : std::optional(result);
}

// A scrolling capture has one path, so that whether it can be written is looked at before. The picture may be huge: it is
// read only if there will be no file of it.
std::optional<CaptureResult> scrolled(const CaptureTool::Request &request, const QString &path, const QString &tool)
{
    const QFileInfo folder(QFileInfo(path).path());
    const bool canSave = folder.isDir() && folder.isWritable();
    const QString target = canSave ? path : request.unsaved;
    if (!canSave)
        QFile::remove(target);
    const auto said = ChildProcess::run(tool, CaptureTool::scrollArguments(request, target));
    CaptureResult result;
    result.path = path;
    const bool wasKilled =
        !QFileInfo::exists(target) && UnfinishedPictures::complete(QFileInfo(target).path()).contains(target);
    if (!QFileInfo::exists(target)) {
        result.error = complaint(said ? said->errors : "the capture tool cannot be started");
        return result.error.isEmpty() ? std::nullopt : std::optional(result);
    }
    if (wasKilled)
        result.cut = QStringLiteral("qmscroll has ended unexpectedly");
    else if (said && said->exitCode != 0)
        result.cut = complaint(said->errors);
    if (!canSave) {
        result.error = qt_error_string(folder.isDir() ? EACCES : ENOENT);
        result.picture = Pasteboard::contentOf(target);
    }
    return result;
}

} // namespace

CaptureRunner::CaptureRunner(TaskQueue &main, Done done, Thumbnail thumbnail)
    : m_main(main)
    , m_done(std::make_shared<Done>(std::move(done)))
    , m_thumbnail(std::move(thumbnail))
{
    m_pool.setMaxThreadCount(mostAtOnce);
}

CaptureRunner::~CaptureRunner() = default;

void CaptureRunner::runCapture(CaptureTool::Request request)
{
    Q_ASSERT(m_main.isCurrent());
    const std::optional<QString> tool = request.way == Way::scroll ? toolPaths().scroll : toolPaths().capture;
    if (!tool)
        return;
    const QString folder = ConfigStore::resolveCaptureDir();
    ConfigStore::createFolder(folder); // where that fails, the picture is saved elsewhere
    const QString path = freePath(folder, request.way);
    request.isForClipboard = true;
    request.trigger = rawValue(ConfigStore::resolveHotkey().modifier);
    request.unsaved = ConfigStore::runtimeFolder() + QStringLiteral("/quillmere-unsaved.png");
    start(path, [tool = *tool, request, path, thumbnail = m_thumbnail] {
        std::optional<CaptureResult> result =
            request.way == Way::scroll ? scrolled(request, path, tool) : captured(request, path, tool);
        if (result && result->error.isEmpty() && result->color.isEmpty()) {
            const QImage &whole = result->picture.image.pixels;
            result->thumbnail = thumbnail(whole.isNull() ? Thumbnailer::make(path, tallThumbnail) : whole);
        }
        return result;
    });
}

void CaptureRunner::captureText(CaptureTool::Request request, ReadText read)
{
    Q_ASSERT(m_main.isCurrent());
    const std::optional<QString> tool = toolPaths().capture;
    if (!tool)
        return;
    removeForgotten();
    // The folder goes when nobody needs the picture any more.
    const auto folder =
        std::make_shared<QTemporaryDir>(ConfigStore::runtimeFolder() + u'/' + textFolder + QStringLiteral("XXXXXX"));
    if (!folder->isValid())
        return (*m_done)({.textError = folder->errorString()});
    m_textFolders.push_back(folder);
    const QString path = folder->filePath(QStringLiteral("picture.png"));
    request.trigger = rawValue(ConfigStore::resolveHotkey().modifier);
    const auto taken = [this, path, weak = std::weak_ptr(m_done)] { // reading takes seconds, in which others are free
        m_main.post([this, path, weak] {
            if (weak.lock())
                m_promised.remove(path);
        });
    };
    start(path, [tool = *tool, request, path, read = std::move(read), folder, taken] {
        std::optional<CaptureResult> result = captured(request, path, tool);
        taken();
        if (!result || !result->color.isEmpty() || (!result->error.isEmpty() && result->area.isNull()))
            return result;
        Reading reading{{}, result->error};
        if (reading.error.isEmpty())
            reading = read(path);
        return std::optional(CaptureResult{.text = reading.text, .textError = reading.error});
    });
}

// The private files of a process that was killed as it read them.
void CaptureRunner::removeForgotten()
{
    std::erase_if(m_textFolders, [](const std::weak_ptr<QTemporaryDir> &folder) { return folder.expired(); });
    if (!m_textFolders.empty())
        return; // the others went before the first of these was made
    QDir runtime(ConfigStore::runtimeFolder());
    for (const QString &name : runtime.entryList({textFolder + u'*'}, QDir::Dirs | QDir::NoSymLinks))
        QDir(runtime.filePath(name)).removeRecursively();
}

// The path is promised until the work is done, if it is not given back before.
void CaptureRunner::start(const QString &path, std::function<std::optional<CaptureResult>()> work)
{
    m_promised.insert(path);
    m_pool.start([this, path, work = std::move(work), weak = std::weak_ptr(m_done)] {
        const std::optional<CaptureResult> result = work();
        m_main.post([this, weak, path, result] {
            const auto done = weak.lock();
            if (!done)
                return; // and neither is there a runner
            m_promised.remove(path);
            if (result)
                (*done)(*result);
        });
    });
}

QString CaptureRunner::freePath(const QString &folder, Way way) const
{
    const QDateTime now = QDateTime::currentDateTime();
    QString path = folder + u'/' + (way == Way::scroll ? CaptureNames::scroll(now) : CaptureNames::capture(now));
    while (m_promised.contains(path) || QFileInfo::exists(path))
        path = CaptureNames::aSecondLater(path);
    return path;
}

void CaptureRunner::completeLeft(std::function<void(const QStringList &)> done)
{
    Q_ASSERT(m_main.isCurrent());
    m_pool.start(
        [this, folder = ConfigStore::resolveCaptureDir(), done = std::move(done), weak = std::weak_ptr(m_done)] {
            const QStringList pictures = UnfinishedPictures::complete(folder);
            if (pictures.isEmpty())
                return;
            m_main.post([pictures, done, weak] {
                if (weak.lock())
                    done(pictures);
            });
        });
}

bool CaptureRunner::isCapturing() const
{
    return !m_promised.isEmpty();
}

bool CaptureRunner::stop(std::chrono::milliseconds limit)
{
    if (m_pool.waitForDone(int(limit.count())))
        return true;
    for (const std::weak_ptr<QTemporaryDir> &folder : m_textFolders) { // the process may end without its destructors
        if (const auto left = folder.lock())
            left->remove();
    }
    return false;
}

} // namespace qm

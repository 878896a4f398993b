#include "helpers/qmscroll/wayland/CastFrames.h"

#include "helpers/qmscroll/wayland/CastTokens.h"
#include "helpers/qmscroll/wayland/StreamModule.h"
#include "helpers/wayland/desktop/ScreenCast.h"
#include "ui/AppLocale.h"

#include <QFile>
#include <QFileInfo>

#include <dlfcn.h>

namespace qm {

namespace {

using Begun = ScreenCast::Begun;

class Frames : public RegionFrames
{
public:
    // False if the user said no, or with a reason if the desktop did.
    bool begin(const RegionPart &part, QString *failure);
    QImage grab() override { return m_cast.hasEnded() ? QImage() : m_stream->grab(); }
    QImage grabMonitor() override { return m_stream->grabMonitor(); }

private:
    ScreenCast m_cast;
    std::unique_ptr<RegionFrames> m_stream; // ends before the cast
};

bool shows(const ScreenCast &cast, const RegionPart &part)
{
    return !cast.place() || cast.place() == part.logical.topLeft();
}

std::unique_ptr<RegionFrames> openStream(const ScreenCast &cast, const RegionPart &part, QString *failure)
{
    const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath();
    void *const library =
        dlopen(QFile::encodeName(program + u'/' + QLatin1StringView(streamLibraryName)).constData(), RTLD_LAZY);
    const auto function =
        library ? reinterpret_cast<OpenStreamFunction>(dlsym(library, openStreamFunctionName)) : nullptr;
    if (!function) {
        *failure = QStringLiteral("cannot load %1").arg(QLatin1StringView(streamLibraryName));
        return nullptr;
    }
    const int remote = cast.openRemote();
    std::unique_ptr<RegionFrames> frames(remote < 0 ? nullptr : function(remote, cast.node(), part));
    if (!frames || frames->grab().isNull()) {
        *failure =
            AppLocale::text(u"PipeWire gives no picture of the screen", u"PipeWire から画面の画像を取得できません");
        return nullptr;
    }
    return frames;
}

bool Frames::begin(const RegionPart &part, QString *failure)
{
    const std::string token = CastTokens::token(part.output);
    Begun begun = m_cast.begin(token);
    if (begun == Begun::yes && !shows(m_cast, part) && !token.empty())
        begun = m_cast.begin({}); // monitors have been plugged in another order
    if (begun == Begun::cancelled)
        return false;
    if (begun == Begun::no) {
        *failure = AppLocale::text(u"this desktop does not let the screen be recorded",
                                   u"このデスクトップでは画面の録画が許可されていません");
        return false;
    }
    if (!shows(m_cast, part)) {
        *failure = AppLocale::text(u"the monitor that was chosen is not the one with the region",
                                   u"選ばれたモニターに範囲がありません");
        return false;
    }
    CastTokens::keep(part.output, m_cast.nextToken());
    m_stream = openStream(m_cast, part, failure);
    return m_stream != nullptr;
}

} // namespace

std::unique_ptr<RegionFrames> openCastFrames(const RegionPart &part, QString *failure)
{
    auto frames = std::make_unique<Frames>();
    return frames->begin(part, failure) ? std::move(frames) : nullptr;
}

} // namespace qm

#include "cli/Commands.h"

#include "config/ConfigStore.h"
#include "config/FolderPresence.h"
#include "index/Database.h"
#include "index/IndexSql.h"
#include "index/IndexTrouble.h"
#include "index/OcrRunner.h"
#include "index/ShotStore.h"
#include "platform/CaptureRoad.h"
#include "platform/SystemStartup.h"
#include "platform/ToolPaths.h"
#include "ui/AppLocale.h"
#include "ui/HelperReason.h"
#include "ui/RoadName.h"

#include <QFileInfo>

#include <array>
#include <iterator>
#include <vector>

namespace qm {

using AppLocale::text;

static QString nameOf(ConfigStore::Origin origin)
{
    switch (origin) {
    case ConfigStore::Origin::shared: return text(u"shared settings", u"共有設定");
    case ConfigStore::Origin::local: return text(u"settings", u"設定");
    case ConfigStore::Origin::system: return text(u"system", u"システム");
    case ConfigStore::Origin::standard: break;
    }
    return text(u"default", u"既定");
}

static QString presence(const QString &path)
{
    return QFileInfo::exists(path) ? QString() : text(u"not there yet", u"まだありません");
}

static QString folderState(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return text(u"missing", u"見つかりません");
    if (!info.isDir())
        return text(u"not a folder", u"フォルダーではありません");
    return info.isReadable() ? QString() : text(u"not readable", u"読み取れません");
}

static QString captureFolderState(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && !info.isWritable() ? text(u"not writable", u"書き込めません") : folderState(path);
}

namespace {

// One fact: the same order and values for people and for programs.
struct Fact {
    const char16_t *key;
    QString label;
    QJsonValue value;
    QStringList remarks;
};

} // namespace

static Fact roadFact()
{
    static constexpr std::array names = {u"none", u"system", u"x11", u"compositor", u"kwin", u"portal"};
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) // whose desktops are asked there
        SystemStartup::connectToSession();
    const CaptureRoad road = CaptureRoad::current();
    const QString name = QString::fromUtf16(names[size_t(road.kind)]);
    return {u"road",
            text(u"Screenshots by", u"画面の取得方法"),
            name,
            {roadName(road.kind), road.isDenied ? text(u"not allowed; the settings window can ask again",
                                                       u"許可されていません（設定ウィンドウで確認し直せます）")
                                                : QString()}};
}

static std::vector<Fact> settingsFacts()
{
    const Hotkey hotkey = ConfigStore::resolveHotkey();
    const QString shared = ConfigStore::sharedFile();
    const QString captures = ConfigStore::resolveCaptureDir();
    const QString source = ConfigStore::resolveSource();
    const auto origin = [](const char16_t *key) { return nameOf(ConfigStore::originOf(QString::fromUtf16(key))); };
    const QString none = text(u"none", u"なし");
    return {
        {u"settings",
         text(u"Settings", u"設定ファイル"),
         ConfigStore::localFile(),
         {presence(ConfigStore::localFile())}},
        {u"sharedSettings",
         text(u"Shared settings", u"共有設定ファイル"),
         shared.isEmpty() ? QJsonValue() : QJsonValue(shared),
         {shared.isEmpty()                       ? none
          : FolderPresence::isSharedFolderAway() ? text(u"the folder is not there", u"フォルダーが見つかりません")
                                                 : presence(shared)}},
        {u"captures",
         text(u"Capture folder", u"保存先フォルダー"),
         captures,
         {origin(u"captures"), captureFolderState(captures)}},
        {u"source",
         text(u"Screenshot folder", u"スクリーンショットのフォルダー"),
         source,
         {origin(u"source"), folderState(source)}},
        roadFact(),
        {u"hotkey", text(u"Trigger key", u"トリガーキー"), rawValue(hotkey.modifier), {origin(u"hotkey")}},
        {u"holdThreshold",
         text(u"Hold threshold (s)", u"長押しの時間（秒）"),
         hotkey.holdThreshold,
         {origin(u"hotkey")}},
        {u"showPreview",
         text(u"Preview after capture", u"撮影後のプレビュー"),
         ConfigStore::showPreview(),
         {origin(u"showPreview")}},
        {u"autoOcr",
         text(u"Auto-OCR after capture", u"撮影後に自動でOCRする"),
         ConfigStore::autoOcr(),
         {origin(u"autoOcr")}},
    };
}

static std::vector<Fact> indexFacts(Database &database)
{
    const std::optional<QString> helper = toolPaths().ocr;
    std::vector<Fact> facts{
        {u"index", text(u"Index", u"索引"), database.path(), {presence(database.path())}},
        {u"helper",
         text(u"OCR helper", u"OCR補助プログラム"),
         helper ? QJsonValue(*helper) : QJsonValue(),
         {helper ? QString() : text(u"not found", u"見つかりません")}},
    };
    if (!database.isOpen())
        return facts;
    const auto count = [&](const char *sql) { return QJsonValue(database.number(sql)); };
    facts.push_back({u"shots", text(u"Screenshots", u"スクリーンショット"), count(IndexSql::countShots), {}});
    facts.push_back({u"withText", text(u"Read", u"読み取り済み"), count(IndexSql::countRead), {}});
    facts.push_back({u"waiting",
                     text(u"Waiting to be read", u"読み取り待ち"),
                     count(IndexSql::countWaiting),
                     {OcrRunner::isBusy(database) ? text(u"being read now", u"読み取り中") : QString()}});
    const qint64 failed = database.number(IndexSql::countFailed);
    facts.push_back(
        {u"failed",
         text(u"Cannot be read", u"読み取れない画像"),
         failed,
         {failed > 0 ? text(u"qms status --failed lists them", u"一覧は qms status --failed") : QString()}});
    return facts;
}

// What the running application has met, which no file of the index can tell.
static std::vector<Fact> troubleFacts()
{
    const std::optional<IndexTrouble> trouble = IndexTrouble::read();
    if (!trouble)
        return {};
    const QString what = trouble->kind == IndexTrouble::Kind::helper
                             ? text(u"text recognition failed: %1", u"文字認識に失敗しました: %1")
                         : trouble->kind == IndexTrouble::Kind::write
                             ? text(u"the index could not be written: %1", u"索引に書き込めませんでした: %1")
                             : text(u"the index could not be opened: %1", u"索引を開けませんでした: %1");
    return {{u"trouble",
             text(u"Last error", u"直近のエラー"),
             what.arg(HelperReason::shown(trouble->reason)),
             {trouble->since.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))}}};
}

static Exit unusable(Console &console, const Database &database)
{
    return console.fail(
        text(u"the index cannot be used: %1. It is left unchanged; until this is resolved, nothing is indexed.",
             u"索引を使えません: %1。ファイルは変更していません。解決するまで、索引は更新されません。")
            .arg(database.error()));
}

Exit Commands::failures(Console &console)
{
    Database database(ShotStore::databasePath(), Database::Access::write);
    if (QFileInfo::exists(database.path()) && !database.open())
        return unusable(console, database);
    int shown = 0;
    Statement failed = database.prepare(IndexSql::failures);
    for (; failed.nextRow(); ++shown) {
        const QDateTime since = QDateTime::fromMSecsSinceEpoch(failed.int64(2));
        if (console.json())
            console.row({{QStringLiteral("path"), failed.text(0)},
                         {QStringLiteral("reason"), failed.text(1)},
                         {QStringLiteral("since"), since.toUTC().toString(Qt::ISODate)}});
        else
            console.line(console.faint(since.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))) + QStringLiteral("  ") +
                         console.printable(failed.text(0)) + QStringLiteral(": ") +
                         HelperReason::shown(failed.text(1)));
    }
    return shown > 0 ? Exit::success : Exit::nothingFound;
}

static QString shown(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? text(u"on", u"オン") : text(u"off", u"オフ");
    if (value.isNull())
        return QStringLiteral("-");
    return value.toVariant().toString();
}

Exit Commands::status(Console &console)
{
    // Opened for writing, since only a writer can recover from a killed application; but never creates the file.
    Database database(ShotStore::databasePath(), Database::Access::write);
    const bool failed = QFileInfo::exists(database.path()) && !database.open();
    std::vector<Fact> facts = settingsFacts();
    for (std::vector<Fact> &more : std::array{indexFacts(database), troubleFacts()})
        std::move(more.begin(), more.end(), std::back_inserter(facts));

    QJsonObject object;
    for (Fact &fact : facts) {
        fact.remarks.removeAll(QString());
        object.insert(QString::fromUtf16(fact.key), fact.value);
        if (console.json())
            continue;
        const QString remarks =
            fact.remarks.isEmpty() ? QString() : QStringLiteral("  (%1)").arg(fact.remarks.join(u", "));
        console.line(fact.label + QStringLiteral(": ") + shown(fact.value) + console.faint(remarks));
    }
    if (console.json())
        console.row(object);
    return failed ? unusable(console, database) : Exit::success;
}

} // namespace qm

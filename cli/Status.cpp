#include "cli/Commands.h"

#include "config/ConfigStore.h"
#include "index/Database.h"
#include "index/IndexSql.h"
#include "index/OcrRunner.h"
#include "index/ShotStore.h"
#include "platform/ToolPaths.h"
#include "ui/AppLocale.h"

#include <QFileInfo>

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

namespace {

// One fact: the same order and values for people and for programs.
struct Fact {
    const char16_t *key;
    QString label;
    QJsonValue value;
    QStringList remarks;
};

} // namespace

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
         {shared.isEmpty() ? none : presence(shared)}},
        {u"captures",
         text(u"Capture folder", u"保存先フォルダー"),
         captures,
         {origin(u"captures"), folderState(captures)}},
        {u"source",
         text(u"Screenshot folder", u"スクリーンショットのフォルダー"),
         source,
         {origin(u"source"), folderState(source)}},
        {u"hotkey", text(u"Trigger key", u"トリガーキー"), rawValue(hotkey.modifier), {origin(u"hotkey")}},
        {u"holdThreshold",
         text(u"Hold threshold (s)", u"長押しの時間（秒）"),
         hotkey.holdThreshold,
         {origin(u"hotkey")}},
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
    return facts;
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
    for (Fact &fact : indexFacts(database))
        facts.push_back(std::move(fact));

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
    if (failed)
        return console.fail(
            text(u"the index cannot be used: %1. It is left unchanged; until this is resolved, nothing is indexed.",
                 u"索引を使えません: %1。ファイルは変更していません。解決するまで、索引は更新されません。")
                .arg(database.error()));
    return Exit::success;
}

} // namespace qm

#include "index/IndexTrouble.h"

#include "config/ConfigStore.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace qm {

static const QStringList kinds{QStringLiteral("open"), QStringLiteral("write"), QStringLiteral("helper")};

QString IndexTrouble::file()
{
    return ConfigStore::runtimeFolder() + QStringLiteral("/quillmere-status.json");
}

std::optional<IndexTrouble> IndexTrouble::read()
{
    QFile in(file());
    if (!in.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonObject object = QJsonDocument::fromJson(in.readAll()).object();
    const qsizetype kind = kinds.indexOf(object.value(u"trouble").toString());
    if (kind < 0)
        return std::nullopt;
    return IndexTrouble{Kind(kind), object.value(u"reason").toString(),
                        QDateTime::fromString(object.value(u"since").toString(), Qt::ISODate)};
}

void IndexTrouble::record(const std::optional<IndexTrouble> &trouble)
{
    const std::optional<IndexTrouble> before = read();
    if (!trouble) {
        if (before)
            QFile::remove(file());
        return;
    }
    if (before && before->kind == trouble->kind && before->reason == trouble->reason)
        return;
    const QJsonObject object{{QStringLiteral("trouble"), kinds[qsizetype(trouble->kind)]},
                             {QStringLiteral("reason"), trouble->reason},
                             {QStringLiteral("since"), trouble->since.toString(Qt::ISODate)}};
    QSaveFile out(file());
    if (out.open(QIODevice::WriteOnly) && out.write(QJsonDocument(object).toJson()) > 0)
        out.commit();
}

} // namespace qm

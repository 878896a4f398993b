#include "annotate/document/ItemCodec.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace qm {

static constexpr double farthest = 1e7; // points; no picture is as large, and sums of it stay exact enough
static constexpr qsizetype mostItems = 10'000, mostCoordinates = 200'000;

static QJsonArray numbers(const QRectF &rect)
{
    return {rect.x(), rect.y(), rect.width(), rect.height()};
}

static std::optional<QRectF> rectOf(const QJsonValue &value)
{
    const QJsonArray four = value.toArray();
    const bool sane = four.size() == 4 && std::all_of(four.begin(), four.end(), [](const QJsonValue &number) {
                          return number.isDouble() && std::abs(number.toDouble()) <= farthest;
                      });
    if (!sane)
        return std::nullopt;
    return QRectF(four[0].toDouble(), four[1].toDouble(), four[2].toDouble(), four[3].toDouble());
}

static QJsonObject object(const Annotation &item)
{
    QJsonObject made{{QStringLiteral("kind"), int(item.kind)},
                     {QStringLiteral("rect"), numbers(item.rect)},
                     {QStringLiteral("color"), item.color.name(QColor::HexArgb)},
                     {QStringLiteral("lineWidth"), item.lineWidth},
                     {QStringLiteral("blurShape"), int(item.blurShape)},
                     {QStringLiteral("rotation"), item.rotation}};
    if (item.text)
        made[QStringLiteral("text")] = *item.text;
    if (item.plate != Annotation::Plate::none)
        made[QStringLiteral("plate")] = int(item.plate);
    QJsonArray points;
    for (const QPointF &point : item.points)
        points << point.x() << point.y();
    if (!points.isEmpty())
        made[QStringLiteral("points")] = points;
    return made;
}

static std::optional<QList<QPointF>> pointsOf(const QJsonArray &coordinates)
{
    const auto isShare = [](const QJsonValue &value) { return std::abs(value.toDouble(NAN)) <= 1; };
    if (coordinates.size() % 2 != 0 || coordinates.size() > mostCoordinates ||
        !std::all_of(coordinates.begin(), coordinates.end(), isShare))
        return std::nullopt;
    QList<QPointF> points;
    for (qsizetype i = 0; i < coordinates.size(); i += 2)
        points << QPointF(coordinates[i].toDouble(), coordinates[i + 1].toDouble());
    return points;
}

static std::optional<Annotation> itemOf(const QJsonObject &object)
{
    constexpr double widest = 1000; // points
    const auto number = [&](const char *name) { return object[QLatin1String(name)].toDouble(NAN); };
    const std::optional<QRectF> rect = rectOf(object[QStringLiteral("rect")]);
    const double kind = number("kind"), shape = number("blurShape"), width = number("lineWidth"),
                 rotation = number("rotation");
    Annotation item;
    item.color = QColor(object[QStringLiteral("color")].toString());
    const double plate = object[QStringLiteral("plate")].toDouble();
    const auto points = pointsOf(object[QStringLiteral("points")].toArray());
    const bool sane = rect && points && plate >= 0 && plate <= 2 && item.color.isValid() && kind >= 0 &&
                      kind <= double(Annotation::lastKind) && shape >= 0 && shape <= 1 && width >= 0 &&
                      width <= widest && std::abs(rotation) <= farthest;
    if (!sane)
        return std::nullopt;
    item.kind = Annotation::Kind(int(kind));
    item.rect = *rect;
    item.lineWidth = width;
    item.blurShape = Annotation::BlurShape(int(shape));
    item.rotation = rotation;
    item.plate = Annotation::Plate(int(plate));
    item.points = *points;
    if (const QJsonValue text = object[QStringLiteral("text")]; text.isString())
        item.text = text.toString();
    return item;
}

QByteArray ItemCodec::encode(const Edits &edits)
{
    QJsonArray items;
    for (const Annotation &item : edits.items)
        items << object(item);
    QJsonObject all{{QStringLiteral("items"), items}};
    if (edits.crop)
        all[QStringLiteral("crop")] = numbers(*edits.crop);
    return QJsonDocument(all).toJson(QJsonDocument::Compact);
}

std::optional<ItemCodec::Edits> ItemCodec::decode(const QByteArray &bytes)
{
    const QJsonObject all = QJsonDocument::fromJson(bytes).object();
    const QJsonValue items = all[QStringLiteral("items")], crop = all[QStringLiteral("crop")];
    Edits edits;
    if (!items.isArray() || items.toArray().size() > mostItems)
        return std::nullopt;
    if (!crop.isUndefined() && !(edits.crop = rectOf(crop)))
        return std::nullopt;
    for (const QJsonValue &value : items.toArray()) {
        const std::optional<Annotation> item = itemOf(value.toObject());
        if (!item)
            return std::nullopt;
        edits.items << *item;
    }
    return edits;
}

} // namespace qm

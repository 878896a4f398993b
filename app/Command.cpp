#include "app/Command.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

namespace qm {

using Verb = Command::Verb;

static constexpr std::pair<Verb, const char16_t *> names[] = {
    {Verb::captureRegion, u"capture-region"},
    {Verb::captureWindow, u"capture-window"},
    {Verb::captureScroll, u"capture-scroll"},
    {Verb::library, u"library"},
    {Verb::settings, u"settings"},
    {Verb::annotate, u"annotate"},
    {Verb::quit, u"quit"},
};

std::optional<Command> Command::fromWords(const QStringList &words)
{
    if (words.isEmpty())
        return Command();
    for (const auto &[verb, name] : names) {
        if (words.first() != QStringView(name))
            continue;
        if (words.size() != (verb == Verb::annotate ? 2 : 1))
            return std::nullopt;
        return Command{verb, verb == Verb::annotate ? QDir::current().absoluteFilePath(words[1]) : QString()};
    }
    return std::nullopt;
}

QByteArray Command::toMessage() const
{
    QJsonArray words;
    for (const auto &[candidate, name] : names) {
        if (candidate == verb)
            words.append(QString::fromUtf16(name));
    }
    if (verb == Verb::annotate)
        words.append(file);
    return QJsonDocument(words).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<Command> Command::fromMessage(const QByteArray &message)
{
    const QJsonDocument document = QJsonDocument::fromJson(message);
    if (!document.isArray())
        return std::nullopt;
    QStringList words;
    for (const QJsonValue &word : document.array()) {
        if (!word.isString())
            return std::nullopt;
        words.append(word.toString());
    }
    return fromWords(words);
}

} // namespace qm

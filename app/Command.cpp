#include "app/Command.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace qm {

using namespace std::chrono_literals;
using Verb = Command::Verb;

static constexpr QLatin1String delayOption("--delay");
static constexpr QLatin1String allOption("--all");
static constexpr QLatin1String menuOption("--from-menu"); // in the desktop entry's actions
static constexpr QLatin1String activationKey("activation");
static constexpr auto longestDelay = 3600s;

static constexpr std::pair<Verb, const char16_t *> names[] = {
    {Verb::captureRegion, u"capture-region"},
    {Verb::captureWindow, u"capture-window"},
    {Verb::captureScroll, u"capture-scroll"},
    {Verb::captureScreen, u"capture-screen"},
    {Verb::captureLast, u"capture-last"},
    {Verb::captureText, u"capture-text"},
    {Verb::library, u"library"},
    {Verb::settings, u"settings"},
    {Verb::annotate, u"annotate"},
    {Verb::quit, u"quit"},
};

static bool isCapture(Verb verb)
{
    return verb == Verb::captureRegion || verb == Verb::captureWindow || verb == Verb::captureScroll ||
           verb == Verb::captureScreen || verb == Verb::captureLast || verb == Verb::captureText;
}

std::optional<Command> Command::fromWords(const QStringList &words)
{
    if (words.isEmpty())
        return Command();
    const auto name = std::find_if(std::begin(names), std::end(names),
                                   [&](const auto &entry) { return words.first() == QStringView(entry.second); });
    if (name == std::end(names))
        return std::nullopt;
    Command command{.verb = name->first};
    for (qsizetype i = 1; i < words.size(); ++i) {
        const QString &word = words[i];
        bool makesSense = false;
        if (command.verb == Verb::annotate && words.size() == 2) {
            command.file = QDir::current().absoluteFilePath(word);
            makesSense = true;
        } else if (isCapture(command.verb) && word == delayOption && i + 1 < words.size()) {
            command.delay = std::chrono::seconds(words[++i].toInt(&makesSense));
            makesSense = makesSense && command.delay >= 0s && command.delay <= longestDelay;
        } else if (isCapture(command.verb) && word == menuOption) {
            makesSense = command.isFromMenu = true;
        } else if (command.verb == Verb::captureScreen && word == allOption) {
            makesSense = command.isWholeDesktop = true;
        }
        if (!makesSense)
            return std::nullopt;
    }
    return command.verb == Verb::annotate && command.file.isEmpty() ? std::nullopt : std::optional(command);
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
    if (delay > 0s) {
        words.append(QString(delayOption));
        words.append(QString::number(delay.count()));
    }
    if (isWholeDesktop)
        words.append(QString(allOption));
    if (isFromMenu)
        words.append(QString(menuOption));
    if (!activation.isEmpty())
        words.append(QJsonObject{{activationKey, activation}});
    return QJsonDocument(words).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<Command> Command::fromMessage(const QByteArray &message)
{
    const QJsonDocument document = QJsonDocument::fromJson(message);
    if (!document.isArray())
        return std::nullopt;
    QJsonArray array = document.array();
    QString activation;
    if (const QJsonValue last = array.isEmpty() ? QJsonValue() : array.last(); last.isObject()) {
        activation = last[activationKey].toString();
        array.removeLast();
    }
    QStringList words;
    for (const QJsonValue &word : std::as_const(array)) {
        if (!word.isString())
            return std::nullopt;
        words.append(word.toString());
    }
    std::optional<Command> command = fromWords(words);
    if (command)
        command->activation = activation;
    return command;
}

} // namespace qm

#include "platform/LoginItemService.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <optional>

namespace qm {

// freedesktop.org's Desktop Application Autostart Specification.
static QString entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/quillmere.desktop");
}

// The value of Exec for an absolute path: quoted as an argument, then escaped as a string (Desktop Entry Specification,
// "The Exec key").
static QByteArray execValue(const QString &program)
{
    QByteArray quoted = "\"";
    for (const char c : program.toUtf8()) {
        if (c == '%')
            quoted += '%';
        else if (c == '"' || c == '`' || c == '$' || c == '\\')
            quoted += "\\\\";
        quoted += c;
        if (c == '\\')
            quoted += '\\';
    }
    return quoted + '"';
}

// The program that a value of Exec starts, as execValue() or a user wrote it.
static QString programOf(const QByteArray &exec)
{
    QByteArray arguments; // without the string's escapes
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const bool escaped = exec[i] == '\\' && i + 1 < exec.size();
        arguments += escaped && exec[i + 1] == 's' ? ' ' : exec[escaped ? i + 1 : i];
        i += escaped;
    }
    QByteArray program;
    bool quoted = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const char c = arguments[i];
        const bool pair = i + 1 < arguments.size() && ((quoted && c == '\\') || (c == '%' && arguments[i + 1] == '%'));
        if (c == ' ' && !quoted)
            break;
        if (pair)
            program += arguments[++i];
        else if (c == '"')
            quoted = !quoted;
        else
            program += c;
    }
    return QString::fromUtf8(program);
}

static bool exists(const QString &program)
{
    return !QStandardPaths::findExecutable(program).isEmpty();
}

LoginItemService::State LoginItemService::state()
{
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly))
        return State::off;
    std::optional<QString> program; // of the first Exec: those of the entry's actions follow
    for (const QByteArray &line : file.readAll().split('\n')) {
        const qsizetype equals = line.indexOf('=');
        if (equals < 0)
            continue;
        const QByteArray key = line.first(equals).trimmed(), value = line.sliced(equals + 1).trimmed();
        if ((key == "Hidden" && value == "true") || (key == "X-GNOME-Autostart-enabled" && value == "false"))
            return State::off;
        if (key == "Exec" && !program)
            program = programOf(value);
    }
    return program && exists(*program) ? State::on : State::broken;
}

Outcome LoginItemService::enable()
{
    const QString path = entryPath();
    if (!QDir().mkpath(QFileInfo(path).path()))
        return Outcome::failure(QStringLiteral("cannot create %1").arg(QFileInfo(path).path()));
    const QByteArray entry = "[Desktop Entry]\nType=Application\nName=Quillmere\nIcon=org.quillmere.Quillmere\nExec=" +
                             execValue(QCoreApplication::applicationFilePath()) + "\nX-GNOME-Autostart-enabled=true\n";
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(entry) != entry.size() || !file.flush() || !file.commit())
        return Outcome::failure(QStringLiteral("%1: %2").arg(path, file.errorString()));
    return Outcome::success();
}

Outcome LoginItemService::disable()
{
    QFile file(entryPath());
    return !file.exists() || file.remove() ? Outcome::success() : Outcome::failure(file.errorString());
}

} // namespace qm

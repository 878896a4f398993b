#include "cli/Console.h"

#include <QJsonDocument>

#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qm {

static constexpr int defaultWidth = 100;

Console::Console(bool json)
    : m_json(json)
    , m_colors(!json && isatty(STDOUT_FILENO) && qEnvironmentVariableIsEmpty("NO_COLOR")) // no-color.org
    , m_showsProgress(isatty(STDERR_FILENO))
{
}

int Console::width() const
{
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : defaultWidth;
}

void Console::line(const QString &text)
{
    const QByteArray utf8 = text.toUtf8() + '\n';
    std::fwrite(utf8.constData(), 1, size_t(utf8.size()), stdout);
}

void Console::row(const QJsonObject &object)
{
    line(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

QString Console::printable(const QString &name) const
{
    if (!isatty(STDOUT_FILENO))
        return name;
    QString shown;
    for (const QChar c : name) {
        if (c.category() == QChar::Other_Control)
            shown += c == u'\n' ? QStringLiteral("\\n") : QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QChar(u'0'));
        else
            shown += c;
    }
    return shown;
}

QString Console::strong(const QString &text) const
{
    return m_colors ? QStringLiteral("\x1b[1;33m%1\x1b[0m").arg(text) : text;
}

QString Console::faint(const QString &text) const
{
    return m_colors ? QStringLiteral("\x1b[2m%1\x1b[0m").arg(text) : text;
}

void Console::progress(int done, int total)
{
    if (!m_showsProgress || total <= 0)
        return;
    constexpr int cells = 30;
    const int full = int(qint64(cells) * done / total);
    std::fprintf(stderr, "\r[%s%s] %d/%d ", std::string(size_t(full), '#').c_str(),
                 std::string(size_t(cells - full), '.').c_str(), done, total);
    m_progressShown = true;
}

void Console::endProgress()
{
    if (m_progressShown)
        std::fputs("\r\x1b[K", stderr);
    m_progressShown = false;
}

void Console::remark(const QString &message)
{
    std::fprintf(stderr, "qms: %s\n", qUtf8Printable(message));
}

Exit Console::fail(const QString &message)
{
    endProgress();
    remark(message);
    return Exit::failure;
}

} // namespace qm

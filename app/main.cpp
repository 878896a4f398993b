#include "app/AppDelegate.h"
#include "index/OcrIndexer.h"

#include <QApplication>

#include <cstdlib>

using namespace qm;
using namespace std::chrono_literals;

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillmere"));
    QApplication::setApplicationVersion(QStringLiteral(QM_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("org.quillmere.Quillmere"));
    QApplication::setQuitOnLastWindowClosed(false);

    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    const int code = QApplication::exec();

    // A step that hangs (a folder on a server that is away, say) must not keep the process; the index survives that.
    if (!OcrIndexer::stopShared(2s))
        std::_Exit(code);
    return code;
}

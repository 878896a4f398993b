#include "platform/Workspace.h"

#import <AppKit/AppKit.h>

namespace qm {

void Workspace::reveal(const QString &path)
{
    NSURL *file = [NSURL fileURLWithPath:path.toNSString()];
    [NSWorkspace.sharedWorkspace activateFileViewerSelectingURLs:@[ file ]];
}

QString Workspace::fileBrowserName()
{
    return QStringLiteral("Finder");
}

} // namespace qm

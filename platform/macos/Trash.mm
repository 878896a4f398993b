#include "platform/Trash.h"

#import <Foundation/Foundation.h>

namespace qm {

Outcome putIntoTrash(const QString &path)
{
    NSError *error = nil;
    NSURL *file = [NSURL fileURLWithPath:path.toNSString()];
    if ([NSFileManager.defaultManager trashItemAtURL:file resultingItemURL:nil error:&error])
        return Outcome::success();
    return Outcome::failure(QString::fromNSString(error.localizedDescription));
}

} // namespace qm

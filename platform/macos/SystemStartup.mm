#include "platform/SystemStartup.h"

#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include <QCoreApplication>

namespace qm {

bool SystemStartup::hasDisplay()
{
    return true;
}

bool SystemStartup::connectToSession()
{
    return true;
}

void SystemStartup::becomeAccessory()
{
    [NSApplication.sharedApplication setActivationPolicy:NSApplicationActivationPolicyAccessory];
}

void SystemStartup::askForAccessibility()
{
    const void *keys[] = {kAXTrustedCheckOptionPrompt};
    const void *values[] = {kCFBooleanTrue};
    const CFDictionaryRef options = CFDictionaryCreate(
        kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    (void)AXIsProcessTrustedWithOptions(options);
    CFRelease(options);
}

static OSErr openedAgain(const AppleEvent *, AppleEvent *, SRefCon opened)
{
    (*static_cast<std::function<void()> *>(opened))();
    return noErr;
}

// Handles the Apple Event "reopen application" in place of AppKit's own handler, which only brings windows to the front
// and is installed when the event loop begins.
void SystemStartup::whenOpenedAgain(const std::function<void()> &opened)
{
    static std::function<void()> handler;
    handler = opened;
    const auto install = [] {
        AEInstallEventHandler(kCoreEventClass, kAEReopenApplication, NewAEEventHandlerUPP(&openedAgain), &handler,
                              false);
    };
    QMetaObject::invokeMethod(QCoreApplication::instance(), install, Qt::QueuedConnection);
}

} // namespace qm

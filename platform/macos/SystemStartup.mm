#include "platform/SystemStartup.h"

#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include <utility>

namespace qm {

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

// Apple Events' "reopen application", in place of AppKit's own handler, which would only bring windows to the front.
void SystemStartup::whenOpenedAgain(std::function<void()> opened)
{
    static std::function<void()> handler;
    handler = std::move(opened);
    AEInstallEventHandler(kCoreEventClass, kAEReopenApplication, NewAEEventHandlerUPP(&openedAgain), &handler, false);
}

} // namespace qm

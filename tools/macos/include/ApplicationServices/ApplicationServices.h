#pragma once

// Accessibility trust and Apple Events, and the frameworks below this one.

#include <CoreGraphics/CoreGraphics.h>

typedef int16_t OSErr;
typedef uint32_t OSType;
typedef OSType DescType, AEEventClass, AEEventID;
typedef void *SRefCon;
typedef struct OpaqueAEDataStorageType *AEDataStorageType;
struct AEDesc {
    DescType descriptorType;
    AEDataStorageType *dataHandle;
};
typedef AEDesc AppleEvent;
typedef OSErr (*AEEventHandlerProcPtr)(const AppleEvent *event, AppleEvent *reply, SRefCon refcon);
typedef AEEventHandlerProcPtr AEEventHandlerUPP;
enum : OSErr { noErr = 0 };
enum : OSType { kCoreEventClass = 'aevt', kAEReopenApplication = 'rapp' };

extern "C" {
extern const CFStringRef kAXTrustedCheckOptionPrompt;
Boolean AXIsProcessTrusted(void);
Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options);

AEEventHandlerUPP NewAEEventHandlerUPP(AEEventHandlerProcPtr routine);
OSErr AEInstallEventHandler(AEEventClass eventClass, AEEventID eventID, AEEventHandlerUPP handler, SRefCon refcon,
                            Boolean isSystemHandler);
}

#pragma once

// Carbon's hot keys and their events.

#include <ApplicationServices/ApplicationServices.h>

typedef int32_t OSStatus;
typedef uint32_t UInt32;
typedef uint32_t OptionBits;
typedef unsigned long ByteCount;
typedef unsigned long ItemCount;
typedef OSType EventParamName, EventParamType;
typedef struct OpaqueEventRef *EventRef;
typedef struct OpaqueEventHandlerRef *EventHandlerRef;
typedef struct OpaqueEventHandlerCallRef *EventHandlerCallRef;
typedef struct OpaqueEventTargetRef *EventTargetRef;
typedef struct EventHotKeyRefOpaque *EventHotKeyRef;
struct EventTypeSpec {
    OSType eventClass;
    UInt32 eventKind;
};
struct EventHotKeyID {
    OSType signature;
    UInt32 id;
};
typedef OSStatus (*EventHandlerProcPtr)(EventHandlerCallRef next, EventRef event, void *userData);
typedef EventHandlerProcPtr EventHandlerUPP;

enum : OSType { kEventClassKeyboard = 'keyb', kEventParamDirectObject = '----', typeEventHotKeyID = 'hkid' };
enum : UInt32 { kEventHotKeyPressed = 5, kEventHotKeyReleased = 6 };
enum : OSStatus { eventNotHandledErr = -9874 };
enum { kVK_Return = 0x24, kVK_Escape = 0x35, kVK_ANSI_KeypadEnter = 0x4C };

extern "C" {
EventTargetRef GetApplicationEventTarget(void);
EventHandlerUPP NewEventHandlerUPP(EventHandlerProcPtr routine);
OSStatus InstallEventHandler(EventTargetRef target, EventHandlerUPP handler, ItemCount typeCount,
                             const EventTypeSpec *types, void *userData, EventHandlerRef *result);
OSStatus RemoveEventHandler(EventHandlerRef handler);
OSStatus GetEventParameter(EventRef event, EventParamName name, EventParamType desiredType, EventParamType *actualType,
                           ByteCount bufferSize, ByteCount *actualSize, void *data);
OSStatus RegisterEventHotKey(UInt32 keyCode, UInt32 modifiers, EventHotKeyID id, EventTargetRef target,
                             OptionBits options, EventHotKeyRef *result);
OSStatus UnregisterEventHotKey(EventHotKeyRef key);
}

#pragma once

// The calls to Quartz event services and Core Graphics used here, according to their reference.

#include <CoreFoundation/CoreFoundation.h>

typedef double CGFloat;
struct CGPoint {
    CGFloat x, y;
};
struct CGSize {
    CGFloat width, height;
};
struct CGRect {
    CGPoint origin;
    CGSize size;
};

typedef uint32_t CGDirectDisplayID;
typedef int32_t CGError;
typedef uint16_t CGKeyCode;
#if defined(__x86_64__)
typedef unsigned int boolean_t;
#else
typedef int boolean_t;
#endif
#define kCGNullDirectDisplay ((CGDirectDisplayID)0)

typedef struct __CGEvent *CGEventRef;
typedef struct __CGEventSource *CGEventSourceRef;
typedef struct __CGEventTapProxy *CGEventTapProxy;
typedef uint64_t CGEventMask;
enum CGEventType : uint32_t {
    kCGEventNull = 0,
    kCGEventLeftMouseDown = 1,
    kCGEventKeyDown = 10,
    kCGEventKeyUp = 11,
    kCGEventFlagsChanged = 12,
    kCGEventScrollWheel = 22,
    kCGEventTapDisabledByTimeout = 0xFFFFFFFE,
    kCGEventTapDisabledByUserInput = 0xFFFFFFFF,
};
enum CGEventField : uint32_t { kCGKeyboardEventKeycode = 9 };
enum CGEventFlags : uint64_t {
    kCGEventFlagMaskShift = 0x20000,
    kCGEventFlagMaskControl = 0x40000,
    kCGEventFlagMaskAlternate = 0x80000,
    kCGEventFlagMaskCommand = 0x100000,
};
enum CGEventTapLocation : uint32_t { kCGHIDEventTap = 0, kCGSessionEventTap = 1 };
enum CGEventTapPlacement : uint32_t { kCGHeadInsertEventTap = 0, kCGTailAppendEventTap = 1 };
enum CGEventTapOptions : uint32_t { kCGEventTapOptionDefault = 0, kCGEventTapOptionListenOnly = 1 };
enum CGScrollEventUnit : uint32_t { kCGScrollEventUnitPixel = 0, kCGScrollEventUnitLine = 1 };
enum CGMouseButton : uint32_t { kCGMouseButtonLeft = 0, kCGMouseButtonRight = 1, kCGMouseButtonCenter = 2 };
enum CGEventSourceStateID : int32_t {
    kCGEventSourceStateCombinedSessionState = 0,
    kCGEventSourceStateHIDSystemState = 1
};
#define CGEventMaskBit(type) ((CGEventMask)1 << (type))

typedef CGEventRef (*CGEventTapCallBack)(CGEventTapProxy proxy, CGEventType type, CGEventRef event, void *userInfo);

typedef struct CGColorSpace *CGColorSpaceRef;
typedef struct CGContext *CGContextRef;
enum CGImageAlphaInfo : uint32_t { kCGImageAlphaPremultipliedFirst = 2 };
enum CGBitmapInfo : uint32_t { kCGBitmapByteOrder32Little = 2 << 12 };
#define kCGBitmapByteOrder32Host kCGBitmapByteOrder32Little

extern "C" {
CFMachPortRef CGEventTapCreate(CGEventTapLocation tap, CGEventTapPlacement place, CGEventTapOptions options,
                               CGEventMask eventsOfInterest, CGEventTapCallBack callback, void *userInfo);
void CGEventTapEnable(CFMachPortRef tap, bool enable);
int64_t CGEventGetIntegerValueField(CGEventRef event, CGEventField field);
CGEventFlags CGEventGetFlags(CGEventRef event);
CGEventRef CGEventCreateScrollWheelEvent(CGEventSourceRef source, CGScrollEventUnit units, uint32_t wheelCount,
                                         int32_t wheel1, ...);
void CGEventPost(CGEventTapLocation tap, CGEventRef event);
bool CGPreflightPostEventAccess(void);

bool CGEventSourceButtonState(CGEventSourceStateID state, CGMouseButton button);
CGEventFlags CGEventSourceFlagsState(CGEventSourceStateID state);
bool CGEventSourceKeyState(CGEventSourceStateID state, CGKeyCode key);

CGDirectDisplayID CGMainDisplayID(void);
CGError CGWarpMouseCursorPosition(CGPoint to);
CGError CGAssociateMouseAndMouseCursorPosition(boolean_t connected);

extern const CFStringRef kCGColorSpaceSRGB;
CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name);
void CGColorSpaceRelease(CGColorSpaceRef space);
CGContextRef CGBitmapContextCreate(void *data, size_t width, size_t height, size_t bitsPerComponent, size_t bytesPerRow,
                                   CGColorSpaceRef space, uint32_t bitmapInfo);
void CGContextRelease(CGContextRef context);
}

#pragma once

// The Core Foundation calls used here, according to its reference.

#include <cstddef>
#include <cstdint>

typedef unsigned char Boolean;
typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef double CFTimeInterval;
typedef const void *CFTypeRef;
typedef const struct __CFAllocator *CFAllocatorRef;
typedef const struct __CFString *CFStringRef;
typedef const struct __CFBoolean *CFBooleanRef;
typedef const struct __CFArray *CFArrayRef;
typedef const struct __CFDictionary *CFDictionaryRef;
typedef const struct __CFData *CFDataRef;
typedef const struct __CFNumber *CFNumberRef;
typedef const struct __CFURL *CFURLRef;
typedef struct __CFBundle *CFBundleRef;
typedef struct __CFRunLoop *CFRunLoopRef;
typedef struct __CFRunLoopSource *CFRunLoopSourceRef;
typedef struct __CFMachPort *CFMachPortRef;
typedef CFStringRef CFRunLoopMode;
typedef signed int SInt32;

struct CFDictionaryKeyCallBacks;
struct CFDictionaryValueCallBacks;
enum CFNumberType : CFIndex { kCFNumberSInt32Type = 3, kCFNumberIntType = 9, kCFNumberDoubleType = 13 };

extern "C" {
extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFBooleanRef kCFBooleanTrue;
extern const CFRunLoopMode kCFRunLoopCommonModes;
extern const CFStringRef kCFBundleVersionKey;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
CFTypeID CFStringGetTypeID(void);
CFStringRef __CFStringMakeConstantString(const char *text);
#define CFSTR(text) __CFStringMakeConstantString("" text "")

CFBundleRef CFBundleGetMainBundle(void);
CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key);

CFIndex CFArrayGetCount(CFArrayRef array);
const void *CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void **keys, const void **values, CFIndex count,
                                   const CFDictionaryKeyCallBacks *keyCallBacks,
                                   const CFDictionaryValueCallBacks *valueCallBacks);
const void *CFDictionaryGetValue(CFDictionaryRef dictionary, const void *key);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void *value);

CFRunLoopRef CFRunLoopGetMain(void);
void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef allocator, CFMachPortRef port, CFIndex order);
void CFMachPortInvalidate(CFMachPortRef port);
}

#pragma once

// The root of Objective-C, and the Foundation messages used here.

#include <CoreGraphics/CoreGraphics.h>

// A char on Intel processors, a bool on Apple's.
#if defined(__x86_64__)
typedef signed char BOOL;
#else
typedef bool BOOL;
#endif
#define YES __objc_yes
#define NO __objc_no
#undef nil
#define nil nullptr

typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef CGRect NSRect;
typedef CGSize NSSize;
typedef CGPoint NSPoint;

inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
{
    return {{x, y}, {width, height}};
}

__attribute__((objc_root_class))
@interface NSObject
+ (instancetype)alloc;
- (instancetype)init;
@end

@interface NSString : NSObject
@end

@interface NSError : NSObject
@property(readonly, copy) NSString *localizedDescription;
@end

@interface NSURL : NSObject
+ (NSURL *)fileURLWithPath:(NSString *)path;
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager *defaultManager;
- (BOOL)trashItemAtURL:(NSURL *)url resultingItemURL:(NSURL **)outResultingURL error:(NSError **)error;
@end

@interface NSArray<ObjectType> : NSObject
+ (instancetype)arrayWithObjects:(const ObjectType[])objects count:(NSUInteger)count;
@end

#pragma once

// The AppKit messages used here.

#include <Foundation/Foundation.h>

enum NSApplicationActivationPolicy : NSInteger {
    NSApplicationActivationPolicyRegular,
    NSApplicationActivationPolicyAccessory,
    NSApplicationActivationPolicyProhibited,
};

@interface NSApplication : NSObject
@property(class, readonly, strong) NSApplication *sharedApplication;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
@end

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace *sharedWorkspace;
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL *> *)urls;
@end

@interface NSColorSpace : NSObject
@property(class, readonly, strong) NSColorSpace *sRGBColorSpace;
@end

@interface NSColor : NSObject
@property(class, readonly, strong) NSColor *controlAccentColor;
@property(readonly) CGFloat redComponent;
@property(readonly) CGFloat greenComponent;
@property(readonly) CGFloat blueComponent;
- (NSColor *)colorUsingColorSpace:(NSColorSpace *)space; // nil if there is no such conversion
@end

@interface NSGraphicsContext : NSObject
@property(class, strong) NSGraphicsContext *currentContext;
+ (NSGraphicsContext *)graphicsContextWithCGContext:(CGContextRef)context flipped:(BOOL)flipped;
+ (void)saveGraphicsState;
+ (void)restoreGraphicsState;
@end

typedef CGFloat NSFontWeight;
extern "C" const NSFontWeight NSFontWeightRegular;

@interface NSImageSymbolConfiguration : NSObject
+ (instancetype)configurationWithPointSize:(CGFloat)pointSize weight:(NSFontWeight)weight;
@end

@interface NSImage : NSObject
@property NSSize size;
+ (instancetype)imageWithSystemSymbolName:(NSString *)name accessibilityDescription:(NSString *)description; // or nil
- (NSImage *)imageWithSymbolConfiguration:(NSImageSymbolConfiguration *)configuration;
- (void)drawInRect:(NSRect)rect;
@end

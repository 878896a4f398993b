#include "platform/NativeLook.h"

#import <AppKit/AppKit.h>

namespace qm {

std::optional<QColor> NativeLook::accent()
{
    NSColor *color = [NSColor.controlAccentColor colorUsingColorSpace:NSColorSpace.sRGBColorSpace];
    if (!color)
        return std::nullopt;
    return QColor::fromRgbF(float(color.redComponent), float(color.greenComponent), float(color.blueComponent));
}

QImage NativeLook::symbol(const QString &name, QSize pixels)
{
    NSImage *symbol = [NSImage imageWithSystemSymbolName:name.toNSString() accessibilityDescription:nil];
    if (!symbol || pixels.isEmpty())
        return {};
    // Symbols are drawn for their point size rather than scaled; their height exceeds that size slightly.
    symbol = [symbol
        imageWithSymbolConfiguration:[NSImageSymbolConfiguration configurationWithPointSize:pixels.height() * 0.8
                                                                                     weight:NSFontWeightRegular]];
    const QSizeF natural(symbol.size.width, symbol.size.height);
    const QSizeF fitted = natural.scaled(pixels, Qt::KeepAspectRatio);
    const NSRect place = NSMakeRect((pixels.width() - fitted.width()) / 2, (pixels.height() - fitted.height()) / 2,
                                    fitted.width(), fitted.height());

    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    const CGContextRef context = CGBitmapContextCreate(
        image.bits(), size_t(image.width()), size_t(image.height()), 8, size_t(image.bytesPerLine()), space,
        uint32_t(kCGImageAlphaPremultipliedFirst) | kCGBitmapByteOrder32Host);
    CGColorSpaceRelease(space);
    if (!context)
        return {};
    [NSGraphicsContext saveGraphicsState];
    NSGraphicsContext.currentContext = [NSGraphicsContext graphicsContextWithCGContext:context flipped:NO];
    [symbol drawInRect:place];
    [NSGraphicsContext restoreGraphicsState];
    CGContextRelease(context);
    return image;
}

bool NativeLook::blendsWindows()
{
    return true;
}

bool NativeLook::trayTintsIcons()
{
    return true;
}

} // namespace qm

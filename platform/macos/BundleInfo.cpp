#include "platform/BundleInfo.h"

#include <CoreFoundation/CoreFoundation.h>

namespace qm {

static std::optional<QString> textFor(CFStringRef key)
{
    const CFTypeRef value = CFBundleGetValueForInfoDictionaryKey(CFBundleGetMainBundle(), key);
    if (!value || CFGetTypeID(value) != CFStringGetTypeID())
        return std::nullopt;
    return QString::fromCFString(static_cast<CFStringRef>(value));
}

std::optional<QString> BundleInfo::shortVersion()
{
    return textFor(CFSTR("CFBundleShortVersionString"));
}

std::optional<QString> BundleInfo::version()
{
    return textFor(kCFBundleVersionKey);
}

} // namespace qm

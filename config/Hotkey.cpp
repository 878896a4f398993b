#include "config/Hotkey.h"

namespace qm {

namespace {

struct Traits {
    const char16_t *rawValue;
    int keyCode;
    quint32 flagMask;
};

// In enumeration order.
constexpr Traits traits[] = {
    {u"rightShift", 60, 0x20000},
    {u"rightCommand", 54, 0x100000},
    {u"rightOption", 61, 0x80000},
    {u"rightControl", 62, 0x40000},
};

const Traits &of(HotkeyModifier modifier)
{
    return traits[size_t(modifier)];
}

} // namespace

QString rawValue(HotkeyModifier modifier)
{
    return QString::fromUtf16(of(modifier).rawValue);
}

std::optional<HotkeyModifier> hotkeyModifierFrom(const QString &raw)
{
    for (const HotkeyModifier modifier : allHotkeyModifiers) {
        if (rawValue(modifier) == raw)
            return modifier;
    }
    return std::nullopt;
}

int keyCode(HotkeyModifier modifier)
{
    return of(modifier).keyCode;
}

quint32 flagMask(HotkeyModifier modifier)
{
    return of(modifier).flagMask;
}

} // namespace qm

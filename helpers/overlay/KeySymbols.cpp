#include "helpers/overlay/KeySymbols.h"

#include <algorithm>
#include <iterator>

namespace qm {

namespace {

struct KeyMeaning {
    quint32 symbol;
    Picker::Key key;
};
constexpr KeyMeaning keys[] = {
    {0xff1b, Picker::Key::escape},  {0xff0d, Picker::Key::enter},   {0xff8d, Picker::Key::enter}, // on the keypad
    {0x0020, Picker::Key::space},   {0xffe1, Picker::Key::shift},   {0xffe2, Picker::Key::shift},
    {0xffe3, Picker::Key::control}, {0xffe4, Picker::Key::control}, {0xff51, Picker::Key::left},
    {0xff52, Picker::Key::up},      {0xff53, Picker::Key::right},   {0xff54, Picker::Key::down},
    {'c', Picker::Key::color},      {'r', Picker::Key::again},
};

struct TriggerSymbol {
    const char *name;
    quint32 symbol;
};
constexpr TriggerSymbol triggers[] = {
    {"rightShift", 0xffe2},   {"rightControl", 0xffe4}, {"rightOption", 0xffea}, // Alt
    {"rightOption", 0xfe03},                                                     // AltGr
    {"rightOption", 0xffe8},                                                     // Meta
    {"rightCommand", 0xffec}, {"rightCommand", 0xffee},                          // Super, Hyper
};

} // namespace

Picker::Key KeySymbols::meaning(quint32 symbol)
{
    const auto meant =
        std::find_if(std::begin(keys), std::end(keys), [&](const KeyMeaning &key) { return key.symbol == symbol; });
    return meant == std::end(keys) ? Picker::Key::other : meant->key;
}

bool KeySymbols::isTrigger(quint32 symbol, QByteArrayView name)
{
    return std::any_of(std::begin(triggers), std::end(triggers),
                       [&](const TriggerSymbol &trigger) { return trigger.symbol == symbol && trigger.name == name; });
}

bool KeySymbols::isReachable(quint32 symbol)
{
    return symbol != 0 && (symbol <= 0xff || symbol >= 0xfe00);
}

} // namespace qm

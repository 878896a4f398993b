#pragma once

#include "helpers/overlay/Picker.h"

#include <QByteArrayView>

namespace qm {

// What the symbols of a keyboard mean to the picker. Both display servers use the numbers of X's keysymdef.h.
namespace KeySymbols {

Picker::Key meaning(quint32 symbol);
// Is it that of the modifier key that starts captures, by the name it has in the settings?
bool isTrigger(quint32 symbol, QByteArrayView name);
// One of Latin's letters, digits and signs, or none of any alphabet's: an arrow, Return.
bool isReachable(quint32 symbol);

} // namespace KeySymbols
} // namespace qm

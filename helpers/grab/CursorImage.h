#pragma once

#include "helpers/grab/XConnection.h"

#include <QImage>

namespace qm {

// A pointer with this picture, premultiplied ARGB32, hot in the middle. The caller frees it. The plain cross of the
// server's cursor font where the server has no pointers in colour.
xcb_cursor_t makeCursor(XConnection &server, const QImage &picture);

} // namespace qm

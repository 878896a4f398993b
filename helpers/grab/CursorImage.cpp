#include "helpers/grab/CursorImage.h"

#include <xcb/render.h>

namespace qm {

namespace {

constexpr uint16_t crossGlyph = 34; // XC_crosshair of cursorfont.h

// The Render extension's picture format for 32 bits with alpha; 0 when there is none.
xcb_render_pictformat_t alphaFormat(XConnection &server)
{
    if (!server.hasExtension(xcb_render_id))
        return 0;
    const Reply<xcb_render_query_pict_formats_reply_t> answer(
        xcb_render_query_pict_formats_reply(server.get(), xcb_render_query_pict_formats(server.get()), nullptr));
    if (!answer)
        return 0;
    for (auto format = xcb_render_query_pict_formats_formats_iterator(answer.get()); format.rem;
         xcb_render_pictforminfo_next(&format)) {
        const xcb_render_directformat_t &layout = format.data->direct;
        if (format.data->depth == 32 && layout.alpha_mask == 0xff && layout.alpha_shift == 24 &&
            layout.red_shift == 16 && layout.green_shift == 8 && layout.blue_shift == 0)
            return format.data->id;
    }
    return 0;
}

} // namespace

xcb_cursor_t makeCursor(XConnection &server, const QImage &picture)
{
    xcb_connection_t *connection = server.get();
    const xcb_cursor_t cursor = xcb_generate_id(connection);
    const xcb_render_pictformat_t format = alphaFormat(server);
    if (!format) {
        const xcb_font_t font = xcb_generate_id(connection);
        xcb_open_font(connection, font, 6, "cursor");
        xcb_create_glyph_cursor(connection, cursor, font, font, crossGlyph, crossGlyph + 1, 0xffff, 0xffff, 0xffff, 0,
                                0, 0);
        xcb_close_font(connection, font);
        return cursor;
    }
    const uint16_t width = uint16_t(picture.width());
    const uint16_t height = uint16_t(picture.height());
    const xcb_pixmap_t pixmap = xcb_generate_id(connection);
    xcb_create_pixmap(connection, 32, pixmap, server.root(), width, height);
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, pixmap, 0, nullptr);
    xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, height, 0, 0, 0, 32,
                  uint32_t(picture.sizeInBytes()), picture.constBits());
    const xcb_render_picture_t source = xcb_generate_id(connection);
    xcb_render_create_picture(connection, source, pixmap, format, 0, nullptr);
    xcb_render_create_cursor(connection, cursor, source, width / 2, height / 2);
    xcb_render_free_picture(connection, source);
    xcb_free_gc(connection, context);
    xcb_free_pixmap(connection, pixmap);
    return cursor;
}

} // namespace qm

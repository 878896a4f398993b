#include "helpers/x11/RenderDrawing.h"

#include <xcb/render.h>

namespace qm {

static constexpr uint16_t crossGlyph = 34; // XC_crosshair in cursorfont.h

RenderDrawing::RenderDrawing(XConnection &server)
    : m_server(server)
{
    if (!server.hasExtension(xcb_render_id))
        return;
    xcb_discard_reply(server.get(), xcb_render_query_version(server.get(), 0, 11).sequence);
    const Reply<xcb_render_query_pict_formats_reply_t> answer(
        xcb_render_query_pict_formats_reply(server.get(), xcb_render_query_pict_formats(server.get()), nullptr));
    if (!answer)
        return;
    for (auto format = xcb_render_query_pict_formats_formats_iterator(answer.get()); format.rem;
         xcb_render_pictforminfo_next(&format)) {
        const xcb_render_directformat_t &layout = format.data->direct;
        if (format.data->depth == 32 && layout.alpha_mask == 0xff && layout.alpha_shift == 24 &&
            layout.red_shift == 16 && layout.green_shift == 8 && layout.blue_shift == 0)
            m_alphaFormat = format.data->id;
    }
    for (auto screen = xcb_render_query_pict_formats_screens_iterator(answer.get()); screen.rem;
         xcb_render_pictscreen_next(&screen)) {
        for (auto depth = xcb_render_pictscreen_depths_iterator(screen.data); depth.rem;
             xcb_render_pictdepth_next(&depth)) {
            for (auto visual = xcb_render_pictdepth_visuals_iterator(depth.data); visual.rem;
                 xcb_render_pictvisual_next(&visual)) {
                if (visual.data->visual == server.visual())
                    m_screenFormat = visual.data->format;
            }
        }
    }
}

bool RenderDrawing::dim(xcb_window_t window, quint8 alpha) const
{
    if (!m_screenFormat)
        return false;
    const xcb_render_picture_t picture = xcb_generate_id(m_server.get());
    xcb_render_create_picture(m_server.get(), picture, window, m_screenFormat, 0, nullptr);
    const xcb_render_color_t shade = {0, 0, 0, uint16_t(alpha * 0x101)};
    const xcb_rectangle_t all = {0, 0, m_server.screen().width_in_pixels, m_server.screen().height_in_pixels};
    xcb_render_fill_rectangles(m_server.get(), XCB_RENDER_PICT_OP_OVER, picture, shade, 1, &all);
    xcb_render_free_picture(m_server.get(), picture);
    return true;
}

xcb_cursor_t RenderDrawing::makeCursor(const uchar *pixels, quint16 width, quint16 height) const
{
    xcb_connection_t *connection = m_server.get();
    const xcb_cursor_t cursor = xcb_generate_id(connection);
    if (!m_alphaFormat) {
        const xcb_font_t font = xcb_generate_id(connection);
        xcb_open_font(connection, font, 6, "cursor");
        xcb_create_glyph_cursor(connection, cursor, font, font, crossGlyph, crossGlyph + 1, 0xffff, 0xffff, 0xffff, 0,
                                0, 0);
        xcb_close_font(connection, font);
        return cursor;
    }
    const xcb_pixmap_t pixmap = xcb_generate_id(connection);
    xcb_create_pixmap(connection, 32, pixmap, m_server.root(), width, height);
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, pixmap, 0, nullptr);
    xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, height, 0, 0, 0, 32,
                  uint32_t(width) * height * 4, pixels);
    const xcb_render_picture_t source = xcb_generate_id(connection);
    xcb_render_create_picture(connection, source, pixmap, m_alphaFormat, 0, nullptr);
    xcb_render_create_cursor(connection, cursor, source, width / 2, height / 2);
    xcb_render_free_picture(connection, source);
    xcb_free_gc(connection, context);
    xcb_free_pixmap(connection, pixmap);
    return cursor;
}

} // namespace qm

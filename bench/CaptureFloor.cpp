// The least work that shows a picture of the screen over the screen: grab the root window, put it into a window. The
// baseline for qmcapture's overlay. Runs until it is killed.

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

int main()
{
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection))
        return 1;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const uint16_t width = screen->width_in_pixels;
    const uint16_t height = screen->height_in_pixels;
    const size_t bytes = size_t(width) * height * 4;
    const int file = memfd_create("screen", MFD_CLOEXEC);
    if (ftruncate(file, off_t(bytes)) != 0)
        return 1;
    const xcb_shm_seg_t memory = xcb_generate_id(connection);
    xcb_shm_attach_fd(connection, memory, file, 0);
    std::free(xcb_shm_get_image_reply(
        connection,
        xcb_shm_get_image(connection, screen->root, 0, 0, width, height, ~0u, XCB_IMAGE_FORMAT_Z_PIXMAP, memory, 0),
        nullptr));
    const xcb_window_t window = xcb_generate_id(connection);
    const uint32_t values[] = {XCB_BACK_PIXMAP_NONE, 1};
    xcb_create_window(connection, screen->root_depth, window, screen->root, 0, 0, width, height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT,
                      values);
    xcb_map_window(connection, window);
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, window, 0, nullptr);
    xcb_shm_put_image(connection, window, context, width, height, 0, 0, width, height, 0, 0, screen->root_depth,
                      XCB_IMAGE_FORMAT_Z_PIXMAP, 0, memory, 0);
    // A mark that differs from the screen, drawn last.
    const uint32_t black = 0;
    xcb_change_gc(connection, context, XCB_GC_FOREGROUND, &black);
    const xcb_rectangle_t mark = {int16_t(width - 1), int16_t(height - 1), 1, 1};
    xcb_poly_fill_rectangle(connection, window, context, 1, &mark);
    xcb_flush(connection);
    pause();
}

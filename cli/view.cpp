// kestrel view: the section in a window, where the library's interactive
// tools run as they do in the host: this window procedure feeds the mouse
// globals and the key queue, and the tools' message wait is one turn of the
// GTK main loop.
//
// Keys: p pick points (left click adds, right click removes, Enter prints
// them), z zoom box (Enter prints the range), c colour range (Enter prints
// it), q or Escape quits; dragging with the left button scrolls the
// picture when it is larger than the window.
#include <cstdio>
#include <string>
#include <vector>

#include "cli/section.h"
#include "kestrel/kestrel.h"

#include <algorithm>

#include <gtk/gtk.h>

#include "platform/platform.h"

namespace {

struct ViewWindow {
    GtkWidget *window = nullptr, *area = nullptr, *part0 = nullptr, *part1 = nullptr;
    KDC picture = nullptr, client = nullptr;
    int width = 800, height = 560;  // the client window
    KAxis plotX{}, plotY{};
    unsigned message = 0;           // the number of the last event handled
    bool inTool = false, quit = false, grabbed = false;
    int status = 0;
    // The ranges the zoom tools chose, as section options; r redraws with them.
    std::string region, colours;
    bool redraw = false;
};
ViewWindow gView;

// The host's paint: the picture at the scroll position into the window.
void paintFromPicture() {
    kestrel::plat::bitBlt(gView.client, 0, 0, gView.width, gView.height, gView.picture, iHscrollPos,
                          iVscrollPos);
    gtk_widget_queue_draw(gView.area);
}

gboolean onDraw(GtkWidget *, cairo_t *cr, gpointer) {
    int32_t stride = 0;
    const uint8_t *pixels = KCanvasPixels(gView.client, &stride);
    if (!pixels) return FALSE;
    cairo_surface_t *s = cairo_image_surface_create_for_data(const_cast<uint8_t *>(pixels), CAIRO_FORMAT_RGB24,
                                                             gView.width, gView.height, stride);
    cairo_set_source_surface(cr, s, 0, 0);
    cairo_paint(cr);
    cairo_surface_destroy(s);
    return TRUE;
}

// ---- The library's callbacks ----------------------------------------------------
KDC clientDC(void *, KWND) { return gView.client; }
void showClientDC(void *, KWND, KDC) { gtk_widget_queue_draw(gView.area); }
void captureMouse(void *, KWND w) {
    if (w && !gView.grabbed) gtk_grab_add(gView.area);
    if (!w && gView.grabbed) gtk_grab_remove(gView.area);
    gView.grabbed = w != nullptr;
}
void statusPart(void *, int32_t part, const char *text) {
    if (part == 0) gtk_label_set_text(GTK_LABEL(gView.part0), text);
    if (part == 1) gtk_label_set_text(GTK_LABEL(gView.part1), text);
}
int32_t getStatusPart(void *, int32_t part, char *buf, int32_t size) {
    if (part < 0 || part > 1 || size <= 0) return 0;
    const char *t = gtk_label_get_text(GTK_LABEL(part == 0 ? gView.part0 : gView.part1));
    std::snprintf(buf, static_cast<size_t>(size), "%s", t ? t : "");
    return 1;
}
int32_t waitOneMessage(void *) {
    gView.message = 0;
    gtk_main_iteration_do(TRUE);
    return static_cast<int32_t>(gView.quit ? 18 : gView.message);
}
void setCursor(void *, int32_t kind) {
    static const char *const names[] = {"default", "wait", "crosshair", "move",
                                        "nesw-resize", "nwse-resize", "ns-resize", "ew-resize"};
    GdkWindow *w = gtk_widget_get_window(gView.area);
    if (!w || kind < 0 || kind > 7) return;
    GdkCursor *c = gdk_cursor_new_from_name(gdk_window_get_display(w), names[kind]);
    gdk_window_set_cursor(w, c);
    if (c) g_object_unref(c);
}
int32_t windowRect(void *, KWND, int32_t rect[4]) {
    rect[0] = rect[1] = 0;
    rect[2] = gView.width;
    rect[3] = gView.height;
    return 1;
}
void updateView(void *, KWND) { paintFromPicture(); }
long sendMessage(void *, KWND, uint32_t message, uintptr_t wParam, const char *) {
    const int32_t pos = static_cast<int32_t>((wParam >> 16) & 0xFFFF);
    if (message == 276) iHscrollPos = iHscrPos = pos;
    if (message == 277) iVscrollPos = iVscrPos = pos;
    if (message == 276 || message == 277) paintFromPicture();
    return 0;
}

// ---- The tools on keys ----------------------------------------------------------
void pickPoints() {
    std::vector<float> x(201), y(201);
    const int32_t n = GetPoints(x.data(), y.data(), 200, 0, 0x00FF0000u /* blue */);
    for (int32_t i = 0; i < n; ++i) std::printf("point\t%.6g\t%.6g\n", x[i], y[i]);
    std::printf("points\t%d\n", n);
}

void zoomPlot() {
    float x0 = VX.umin, x1 = VX.umax, y0 = VY.umin, y1 = VY.umax;
    const int32_t r = ZoomViewPort(&x0, &x1, 3, &y0, &y1, 3);
    if (r == 13) {
        std::printf("zoom\t%.6g\t%.6g\t%.6g\t%.6g\n", x0, x1, y0, y1);
        char text[160];
        std::snprintf(text, sizeof text, "%.9g/%.9g/%.9g/%.9g", std::min(x0, x1), std::max(x0, x1), std::min(y0, y1),
                      std::max(y0, y1));
        if (x0 != x1 && y0 != y1) gView.region = text;
    } else {
        std::printf("zoom aborted\n");
    }
}

void zoomColours() {
    float z0 = Vcmap.a0, z1 = Vcmap.a1;
    const int32_t r = ZoomColorBar(&z0, &z1, 3);
    if (r == 13) {
        std::printf("colour range\t%.6g\t%.6g\n", z0, z1);
        char text[80];
        std::snprintf(text, sizeof text, "%.9g/%.9g", std::min(z0, z1), std::max(z0, z1));
        if (z0 != z1) gView.colours = text;
    } else {
        std::printf("colour range aborted\n");
    }
}

template <class F>
void runTool(F tool) {
    gView.inTool = true;
    VX = gView.plotX;
    VY = gView.plotY;
    tool();
    std::fflush(stdout);
    gView.inTool = false;
}

// ---- The window procedure ------------------------------------------------------------
gboolean onMotion(GtkWidget *, GdkEventMotion *e, gpointer) {
    CM_Xpos = static_cast<int32_t>(e->x);
    CM_Ypos = static_cast<int32_t>(e->y);
    gView.message = 512;
    return TRUE;
}

gboolean onPress(GtkWidget *, GdkEventButton *e, gpointer) {
    if (e->type != GDK_BUTTON_PRESS) return TRUE;  // double clicks come as two presses too
    CM_Xpos = static_cast<int32_t>(e->x);
    CM_Ypos = static_cast<int32_t>(e->y);
    const int button = e->button == 3 ? KB_RIGHT : KB_LEFT;
    if (button == KB_LEFT) CM_Bstatus = 1;
    gView.message = button == KB_LEFT ? 513 : 516;
    if (gView.inTool) {
        KBAddKey(KB_PRESS, button, 0);
    } else if (button == KB_LEFT) {
        runTool([] {
            const int32_t moved = MoveBitMap();
            std::printf("moved\t%d\t%d\t%d\n", moved, iHscrollPos, iVscrollPos);
        });
    }
    return TRUE;
}

gboolean onRelease(GtkWidget *, GdkEventButton *e, gpointer) {
    CM_Xpos = static_cast<int32_t>(e->x);
    CM_Ypos = static_cast<int32_t>(e->y);
    const int button = e->button == 3 ? KB_RIGHT : KB_LEFT;
    if (button == KB_LEFT) CM_Bstatus = 0;
    gView.message = button == KB_LEFT ? 514 : 517;
    if (gView.inTool) KBAddKey(KB_RELEASE, button, 0);
    return TRUE;
}

gboolean onKey(GtkWidget *, GdkEventKey *e, gpointer) {
    gView.message = 256;
    int code = 0;
    switch (e->keyval) {
    case GDK_KEY_Return: case GDK_KEY_KP_Enter: code = 13; break;
    case GDK_KEY_Escape: code = 27; break;
    default: code = static_cast<int>(gdk_keyval_to_unicode(e->keyval)); break;
    }
    if (gView.inTool) {
        if (code) KBAddKey(KB_KEY, code, 0);
        return TRUE;
    }
    switch (code) {
    case 'p': runTool(pickPoints); break;
    case 'z': runTool(zoomPlot); break;
    case 'c': runTool(zoomColours); break;
    case 'r':  // the section again over the zoomed ranges
        if (gView.region.empty() && gView.colours.empty()) break;
        gView.redraw = true;
        gtk_widget_destroy(gView.window);
        break;
    case 'q': case 27: gtk_widget_destroy(gView.window); break;
    default: break;
    }
    return TRUE;
}

void onDestroy(GtkWidget *, gpointer) {
    gView.quit = true;
    gView.window = nullptr;
    gtk_main_quit();
}

int showWindow(KDC picture, int width, int height) {
    gView.picture = picture;
    gView.quit = false;
    gView.plotX = VX;
    gView.plotY = VY;
    const int pw = KCanvasWidth(picture), ph = KCanvasHeight(picture);
    gView.width = std::min(width, pw);
    gView.height = std::min(height, ph);
    gView.client = KCanvasCreate(gView.width, gView.height);
    iHscrollPos = iHscrPos = iVscrollPos = iVscrPos = 0;
    iHscrollLim = pw - gView.width;
    iVscrollLim = ph - gView.height;

    gView.window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(gView.window), "kestrel view");
    gtk_window_set_resizable(GTK_WINDOW(gView.window), FALSE);
    GtkWidget *box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gView.area = gtk_drawing_area_new();
    gtk_widget_set_size_request(gView.area, gView.width, gView.height);
    gtk_widget_add_events(gView.area, GDK_POINTER_MOTION_MASK | GDK_BUTTON_PRESS_MASK | GDK_BUTTON_RELEASE_MASK);
    gtk_widget_set_can_focus(gView.area, TRUE);
    GtkWidget *bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gView.part0 = gtk_label_new("p pick points   z zoom   c colour range   r redraw zoomed   drag scrolls   q quit");
    gView.part1 = gtk_label_new("");
    gtk_box_pack_start(GTK_BOX(bar), gView.part0, FALSE, FALSE, 4);
    gtk_box_pack_end(GTK_BOX(bar), gView.part1, FALSE, FALSE, 4);
    gtk_box_pack_start(GTK_BOX(box), gView.area, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), bar, FALSE, FALSE, 2);
    gtk_container_add(GTK_CONTAINER(gView.window), box);
    g_signal_connect(gView.area, "draw", G_CALLBACK(onDraw), nullptr);
    g_signal_connect(gView.area, "motion-notify-event", G_CALLBACK(onMotion), nullptr);
    g_signal_connect(gView.area, "button-press-event", G_CALLBACK(onPress), nullptr);
    g_signal_connect(gView.area, "button-release-event", G_CALLBACK(onRelease), nullptr);
    g_signal_connect(gView.window, "key-press-event", G_CALLBACK(onKey), nullptr);
    g_signal_connect(gView.window, "destroy", G_CALLBACK(onDestroy), nullptr);

    KUICallbacks cb{};
    cb.clientDC = clientDC;
    cb.showClientDC = showClientDC;
    cb.captureMouse = captureMouse;
    cb.statusPart = statusPart;
    cb.getStatusPart = getStatusPart;
    cb.waitOneMessage = waitOneMessage;
    cb.setCursor = setCursor;
    cb.windowRect = windowRect;
    cb.updateView = updateView;
    cb.sendMessage = sendMessage;
    KestrelSetUICallbacks(&cb);
    // The tools only check that these are set; the window is the view.
    static int clientTag, statusTag;
    hWndClient = reinterpret_cast<KWND>(&clientTag);
    hWndStatusBar = reinterpret_cast<KWND>(&statusTag);

    paintFromPicture();
    gtk_widget_show_all(gView.window);
    // Where the plot is, in window pixels, for whoever drives the window.
    std::printf("plot\t%d\t%d\t%d\t%d\t%.6g\t%.6g\t%.6g\t%.6g\tcolours\t%.6g\t%.6g\twindow\t%d\t%d\n", VX.lowPix,
                VY.highPix, VX.highPix, VY.lowPix, VX.umin, VX.umax, VY.umin, VY.umax, Vcmap.a0, Vcmap.a1,
                gView.width, gView.height);
    std::fflush(stdout);
    gtk_main();
    KestrelSetUICallbacks(nullptr);
    hWndClient = hWndStatusBar = nullptr;
    KCanvasDestroy(gView.client);
    gView.client = nullptr;
    return gView.status;
}

}  // namespace

int viewMain(int argc, char **argv, const std::function<std::string(const std::string &)> &findPreamble) {
    // --window WxH is the view's own; the rest are the section's options.
    int width = 800, height = 560;
    std::vector<char *> rest;
    for (int i = 0; i < argc; ++i) {
        if (std::string(argv[i]) == "--window" && i + 1 < argc) {
            if (std::sscanf(argv[++i], "%dx%d", &width, &height) != 2 || width < 50 || height < 50 ||
                width > 10000 || height > 10000) {
                std::fprintf(stderr, "kestrel: bad value for --window (WIDTHxHEIGHT, 50 to 10000 pixels)\n");
                return 2;
            }
            continue;
        }
        rest.push_back(argv[i]);
    }
    if (!gtk_init_check(nullptr, nullptr)) {
        std::fprintf(stderr, "kestrel: cannot open a window (no display?)\n");
        return 1;
    }
    // r after a zoom draws the section again over the zoomed ranges, in a
    // new window; the zoom tools then start from those.
    int status = 0;
    std::vector<std::string> again;
    do {
        gView.redraw = false;
        std::vector<char *> args = rest;
        for (std::string &a : again) args.push_back(&a[0]);
        status = sectionMain(static_cast<int>(args.size()), args.data(), findPreamble,
                             [&](KDC picture) { return showWindow(picture, width, height); });
        again.clear();
        if (!gView.region.empty()) again.insert(again.end(), {"-R", gView.region});
        if (!gView.colours.empty()) again.insert(again.end(), {"--range", gView.colours});
        if (gView.redraw) std::printf("redraw\t%s\n", gView.region.c_str()), std::fflush(stdout);
    } while (gView.redraw && status == 0);
    return status;
}

// Any byte stream from the unit: cut into chunks as the link reads them,
// drained into report lines, and dispatched by the panel to its controls and
// pages (the real window, offscreen, with no unit attached).
#include "FuzzSupport.h"
#include "common/Diagnostics.h"
#include "link/MsgClass.h"
#include "link/UnitLink.h"
#include "panel/rz48View.h"

#include <QApplication>
#include <QMainWindow>

#include <cstdlib>

namespace {

QMainWindow* g_window = nullptr;

// The application and the window live for the whole run: they are made once
// and never destroyed, as Qt's own statics would be gone first at exit.
rz48View* panel()
{
    static rz48View* view = [] {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        static int argc = 1;
        static char name[] = "fuzz_receive";
        static char* argv[] = {name, nullptr};
        new QApplication(argc, argv);
        g_window = new QMainWindow;
        auto* v = new rz48View;
        g_window->setCentralWidget(v);
        LinkOptions options;
        options.searchDirectory = QStringLiteral("/nonexistent-rz48-fuzz");
        options.driverCheck = [] { return true; };
        v->awakeFromNib(options);
        // The pages' preview workers stop before the program ends.
        std::atexit([] { g_window->close(); });
        return v;
    }();
    return view;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    rz48::DiagCapture quiet;
    rz48View* view = panel();
    // The first byte sets the chunk size, as reads of the port would cut it.
    const size_t chunk = size > 0 ? (data[0] % 64) + 1 : 1;
    for (size_t at = size > 0 ? 1 : 0; at < size; at += chunk) {
        MsgClass message;
        message.txBytes(data + at, uint32_t(std::min(chunk, size - at)));
        view->link()->threadHasMsg(message);
    }
    QCoreApplication::processEvents();
    return 0;
}

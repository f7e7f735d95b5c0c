// rz48-emu: runs the emulated RZ-48 on a pseudo-terminal, prints the port's
// path and logs everything the unit receives, until interrupted.
#include "emulator/PtyHost.h"

#include <csignal>
#include <filesystem>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t g_stop = 0;

void onSignal(int)
{
    g_stop = 1;
}

void usage(FILE* out)
{
    std::fputs(
        "Usage: rz48-emu [options]\n"
        "Runs an emulated RZ-48 video overlay unit on a pseudo-terminal and publishes it\n"
        "as a symbolic link that the panel finds like a USB serial adapter.\n"
        "\n"
        "  --dir DIR        directory for the link (default $XDG_RUNTIME_DIR/rz48-emu,\n"
        "                   or /tmp/rz48-emu-UID); point the panel at it with --dev-dir DIR\n"
        "  --name NAME      name of the link (default tty.usbserial-EMU)\n"
        "  --pace           send at the unit's 38400 bit/s instead of at once\n"
        "  --late MS        answer MS milliseconds late\n"
        "  --probe-on N     answer the identity probe only from the Nth attempt on\n"
        "  --silent         never answer\n"
        "  --garbage        answer with garbage bytes\n"
        "  --sysex          start every answer with a system-exclusive message\n"
        "  --bad-pairs N    end every cue transfer with \"h N\" (N pairs failed)\n"
        "  --firmware TEXT  firmware version in the \"k\" report (default 3.32.6)\n"
        "  --version        the program's version\n"
        "  --help           this text\n"
        "\n"
        "Exit status: 0 stopped by a signal, 1 the pseudo-terminal could not be made, 2 wrong usage.\n",
        out);
}

std::string defaultDirectory()
{
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime)
        return std::string(runtime) + "/rz48-emu";
    return "/tmp/rz48-emu-" + std::to_string(::getuid());
}

} // namespace

int main(int argc, char** argv)
{
    std::string dir = defaultDirectory();
    std::string name = "tty.usbserial-EMU";
    emu::PtyHost host;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "rz48-emu: %s needs a value\n", arg.c_str());
                std::exit(2);
            }
            return argv[++i];
        };
        auto number = [&]() -> int {
            const std::string text = value();
            char* end = nullptr;
            const long n = std::strtol(text.c_str(), &end, 10);
            if (text.empty() || *end != 0 || n < 0 || n > 1000000) {
                std::fprintf(stderr, "rz48-emu: %s takes a whole number, not \"%s\"\n", arg.c_str(), text.c_str());
                std::exit(2);
            }
            return int(n);
        };
        if (arg == "--dir")
            dir = value();
        else if (arg == "--name")
            name = value();
        else if (arg == "--pace")
            host.setPacing(38400);
        else if (arg == "--late")
            host.setAnswerDelay(std::chrono::milliseconds(number()));
        else if (arg == "--probe-on")
            host.unit().setProbeAnswerOn(number());
        else if (arg == "--silent")
            host.unit().setSilent(true);
        else if (arg == "--garbage")
            host.unit().setGarbage(true);
        else if (arg == "--sysex")
            host.unit().setSysExPrefix(true);
        else if (arg == "--bad-pairs")
            host.unit().setBadPairs(number());
        else if (arg == "--firmware")
            host.unit().setVersion(value());
        else if (arg == "--version") {
            std::printf("rz48-emu %s\n", RZ48_VERSION);
            return 0;
        }
        else if (arg == "--help" || arg == "-h") {
            usage(stdout);
            return 0;
        } else {
            std::fprintf(stderr, "rz48-emu: unknown option %s\n", arg.c_str());
            usage(stderr);
            return 2;
        }
    }

    std::error_code made;
    std::filesystem::create_directories(dir, made);
    host.setLog([](const std::string& line) { std::printf("%s\n", line.c_str()); std::fflush(stdout); });
    std::string error;
    if (!host.start(dir, name, &error)) {
        std::fprintf(stderr, "rz48-emu: %s\n", error.c_str());
        return 1;
    }
    std::printf("emulated RZ-48 on %s (%s)\n", host.linkPath().c_str(), host.slavePath().c_str());
    std::printf("connect the panel with: rz48panel --dev-dir %s\n", dir.c_str());
    std::fflush(stdout);

    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    while (!g_stop)
        ::usleep(50000);
    host.stop();
    return 0;
}

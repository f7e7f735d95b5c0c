// rz48-emu: runs the emulated RZ-48 on a pseudo-terminal, prints the port's
// path and logs everything the unit receives, until interrupted; or, with
// "render", draws one frame of the unit's output for a setup, a cue sheet and
// a timecode.
#include "emulator/Ltc.h"
#include "emulator/OutputRenderer.h"
#include "emulator/PtyHost.h"
#include "emulator/UnitTimecode.h"
#include "emulator/VideoFile.h"

#include "common/FileIo.h"

#include <QBuffer>
#include <QGuiApplication>

#include <charconv>
#include <csignal>
#include <filesystem>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t g_stop = 0;

constexpr qint64 kMaxSetupBytes = 1024 * 1024;
constexpr qint64 kMaxSheetBytes = 64 * 1024 * 1024;

void onSignal(int)
{
    g_stop = 1;
}

void usage(FILE* out)
{
    std::fputs(
        "Usage: rz48-emu [options]\n"
        "       rz48-emu render --setup FILE [--cues SHEET] [--video FILE [--video-start TC]]\n"
        "                       --at HH:MM:SS:FF -o FRAME.png\n"
        "       rz48-emu ltc read FILE.wav\n"
        "       rz48-emu ltc write --start HH:MM:SS:FF --seconds N --tctype T -o FILE.wav\n"
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
        "render draws the unit's 1920 x 1080 output at a timecode as a PNG: the settings of a\n"
        "setup file (as the panel and rz48ctl save them), the cues of a cue sheet (their\n"
        "streamers end on their In times) at the sheet's timecode type (;tctype, default 1:\n"
        "25 frames a second; --tctype N sets it: 0 24, 1 25, 2 29.97 drop-frame, 3 30).\n"
        "With --video the output is drawn over the video's frame at that timecode: its first\n"
        "frame stands for --video-start, else the file's own timecode tag, else 00:00:00:00;\n"
        "before its start and after its end the picture is black.\n"
        "\n"
        "ltc read prints every linear timecode frame a WAV file holds, forwards or backwards,\n"
        "as \"HH:MM:SS:FF at 1.040 s\" (where the frame starts in the file). ltc write writes\n"
        "N seconds of LTC from a timecode at a timecode type (as above) as a 48 kHz 16-bit\n"
        "mono WAV file, for a DAW or the unit to follow.\n"
        "\n"
        "Exit status: 0 stopped by a signal (render, ltc: done), 1 the pseudo-terminal could not be\n"
        "made (render, ltc: a file could not be read or written, or held no LTC), 2 wrong usage.\n",
        out);
}

// A file's lines (LF, CR LF or CR ends), read with a bound; false with the
// reason in `error`.
bool readLines(const std::string& path, qint64 maxBytes, std::vector<std::string>& lines, std::string* error)
{
    QByteArray bytes;
    QString why;
    if (!rz48::readFileBounded(QString::fromLocal8Bit(path.c_str()), maxBytes, bytes, &why)) {
        *error = why.toStdString();
        return false;
    }
    for (const QByteArray& line : rz48::splitLines(bytes))
        lines.push_back(line.toStdString());
    return true;
}

// The first timecode in a sheet line at or after `from`, as the sheet reader
// finds it: HH (00 to 23) : MM : SS, then ':' or ';' and FF.
size_t findTimecode(const std::string& line, size_t from)
{
    auto digit = [&](size_t i, char low, char high) { return line[i] >= low && line[i] <= high; };
    for (size_t i = from; i + 11 <= line.size(); ++i) {
        const bool hours = (digit(i, '0', '1') && digit(i + 1, '0', '9')) || (line[i] == '2' && digit(i + 1, '0', '3'));
        if (hours && line[i + 2] == ':' && digit(i + 3, '0', '5') && digit(i + 4, '0', '9') && line[i + 5] == ':'
            && digit(i + 6, '0', '5') && digit(i + 7, '0', '9') && (line[i + 8] == ':' || line[i + 8] == ';')
            && digit(i + 9, '0', '2') && digit(i + 10, '0', '9'))
            return i;
    }
    return std::string::npos;
}

int fail(int status, const std::string& message)
{
    std::fprintf(stderr, "rz48-emu: %s\n", message.c_str());
    return status;
}

// rz48-emu render: the setup's command lines and the sheet's cue pairs go to
// an emulated unit as the panel would send them; its output is drawn.
int renderMain(int argc, char** argv)
{
    std::string setupPath, sheetPath, at, outPath, videoPath, videoStart;
    int type = -1;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h" || arg == "--help-all") {
            usage(stdout);
            return 0;
        }
        if (i + 1 >= argc)
            return fail(2, arg + " needs a value (see rz48-emu --help)");
        const std::string value = argv[++i];
        if (arg == "--setup")
            setupPath = value;
        else if (arg == "--cues")
            sheetPath = value;
        else if (arg == "--at")
            at = value;
        else if (arg == "-o" || arg == "--output")
            outPath = value;
        else if (arg == "--tctype" && value.size() == 1 && value[0] >= '0' && value[0] <= '3')
            type = value[0] - '0';
        else if (arg == "--video")
            videoPath = value;
        else if (arg == "--video-start")
            videoStart = value;
        else
            return fail(2, "render: unknown option or value: " + arg + " " + value);
    }
    if (setupPath.empty() || at.empty() || outPath.empty())
        return fail(2, "render needs --setup FILE, --at HH:MM:SS:FF and -o FRAME.png");

    rz48::emu::EmulatedUnit unit;
    const auto now = rz48::emu::Clock::now();
    std::vector<std::string> lines;
    std::string error;
    if (!readLines(setupPath, kMaxSetupBytes, lines, &error))
        return fail(1, "cannot read " + setupPath + ": " + error);
    int number = 0;
    for (const std::string& line : lines) {
        ++number;
        if (line.empty() || line[0] == '#')
            continue;
        if (line.size() < 3 || line[1] != ' ' || !std::strchr("ACEGHJMQUXYmnrt", line[0]))
            return fail(1, setupPath + ":" + std::to_string(number) + ": not a setting command: " + line);
        unit.receive(line + "\r\n", now);
    }

    int sheetType = 1;
    if (!sheetPath.empty()) {
        lines.clear();
        if (!readLines(sheetPath, kMaxSheetBytes, lines, &error))
            return fail(1, "cannot read " + sheetPath + ": " + error);
        unit.receive("h 0\r\n", now);
        for (const std::string& line : lines) {
            if (line.rfind(";tctype\t", 0) == 0) {
                const int value = std::atoi(line.c_str() + 8);
                if (value < 0 || value > 3)
                    return fail(1, sheetPath + ": timecode type " + line.substr(8) + " is not 0 to 3");
                sheetType = value;
                continue;
            }
            const size_t in = line[0] == ';' ? std::string::npos : findTimecode(line, 0);
            if (in == std::string::npos)
                continue;
            const size_t out = findTimecode(line, in + 11);
            const bool outFollows = out != std::string::npos && line.find_first_not_of(" \t", in + 11) == out;
            unit.receive("f " + line.substr(in, 11) + " " + (outFollows ? line.substr(out, 11) : std::string()) + "\r\n", now);
        }
    }
    if (type < 0)
        type = sheetType;
    int64_t frame = 0;
    if (!rz48::emu::parseLabel(at, type, &frame))
        return fail(2, "--at " + at + " is not a timecode of type " + std::to_string(type));

    if (!std::getenv("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    int qtArgc = 1;
    QGuiApplication app(qtArgc, argv);
    QImage picture;
    if (!videoPath.empty()) {
        rz48::emu::VideoFile video;
        if (!video.open(videoPath, &error))
            return fail(1, "cannot open the video " + videoPath + ": " + error);
        // Its first frame stands for the start given, else its own tag, else midnight.
        const std::string start = !videoStart.empty() ? videoStart : !video.timecodeTag().empty() ? video.timecodeTag() : "00:00:00:00";
        int64_t first = 0;
        if (!rz48::emu::parseLabel(start, type, &first))
            return fail(videoStart.empty() ? 1 : 2, (videoStart.empty() ? "the video's timecode tag " : "--video-start ") + start
                                                        + " is not a timecode of type " + std::to_string(type));
        if (!rz48::emu::ratesMatch(video.fps(), type))
            std::fprintf(stderr, "rz48-emu: the video runs at %.3f frames a second and the timecode at another rate: its frames "
                                 "are taken label for label\n", video.fps());
        if (!video.frameAt(rz48::emu::videoIndexAt(frame, first), picture, &error))
            return fail(1, videoPath + ": " + error);
    }
    rz48::emu::OutputRenderer renderer;
    QImage image;
    renderer.render(rz48::emu::composeFrame(unit.outputState(), type, frame, 0), image, picture.isNull() ? nullptr : &picture);
    QByteArray png;
    QBuffer buffer(&png);
    QString why;
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return fail(1, "cannot write " + outPath + ": the picture could not be encoded");
    if (!rz48::writeFileAtomically(QString::fromLocal8Bit(outPath.c_str()), png, &why))
        return fail(1, "cannot write " + outPath + ": " + why.toStdString());
    return 0;
}

// rz48-emu ltc read FILE.wav | ltc write --start TC --seconds N --tctype T -o FILE.wav
int ltcMain(int argc, char** argv)
{
    const std::string verb = argc > 1 ? argv[1] : "";
    if (verb == "read") {
        if (argc != 3)
            return fail(2, "ltc read takes one WAV file");
        const std::string path = argv[2];
        QByteArray bytes;
        QString why;
        if (!rz48::readFileBounded(QString::fromLocal8Bit(path.c_str()), rz48::emu::kMaxWavBytes, bytes, &why))
            return fail(1, "cannot read " + path + ": " + why.toStdString());
        rz48::emu::Audio audio;
        std::string error;
        if (!rz48::emu::parseWav(bytes, audio, &error))
            return fail(1, path + ": " + error);
        const std::vector<rz48::emu::LtcReading> readings = rz48::emu::readLtc(audio);
        for (const rz48::emu::LtcReading& r : readings)
            std::printf("%s\n", rz48::emu::ltcLine(r).c_str());
        if (readings.empty())
            return fail(1, path + ": no linear timecode found");
        return 0;
    }
    if (verb != "write")
        return fail(2, "ltc takes read FILE.wav, or write --start TC --seconds N --tctype T -o FILE.wav");
    std::string start, secondsText, outPath;
    int type = -1;
    for (int i = 2; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc)
            return fail(2, "ltc write: " + arg + " needs a value");
        const std::string value = argv[++i];
        if (arg == "--start")
            start = value;
        else if (arg == "--seconds")
            secondsText = value;
        else if (arg == "--tctype" && value.size() == 1 && value[0] >= '0' && value[0] <= '3')
            type = value[0] - '0';
        else if (arg == "-o")
            outPath = value;
        else
            return fail(2, "ltc write: unknown option or value: " + arg + " " + value);
    }
    if (start.empty() || secondsText.empty() || type < 0 || outPath.empty())
        return fail(2, "ltc write needs --start HH:MM:SS:FF, --seconds N, --tctype 0 to 3 and -o FILE.wav");
    double seconds = 0;
    const auto [end, ec] = std::from_chars(secondsText.data(), secondsText.data() + secondsText.size(), seconds);
    if (ec != std::errc() || end != secondsText.data() + secondsText.size() || !(seconds > 0) || seconds > 86400)
        return fail(2, "--seconds " + secondsText + " is not a number of seconds from 0 to 86400");
    int64_t first = 0;
    if (!rz48::emu::parseLabel(start, type, &first))
        return fail(2, "--start " + start + " is not a timecode of type " + std::to_string(type));
    constexpr int kRate = 48000;
    const QByteArray wav = rz48::emu::wavOf(rz48::emu::writeLtc(first, seconds, type, kRate), kRate);
    QString why;
    if (!rz48::writeFileAtomically(QString::fromLocal8Bit(outPath.c_str()), wav, &why))
        return fail(1, "cannot write " + outPath + ": " + why.toStdString());
    return 0;
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
    if (argc > 1 && std::strcmp(argv[1], "render") == 0)
        return renderMain(argc - 1, argv + 1);
    if (argc > 1 && std::strcmp(argv[1], "ltc") == 0)
        return ltcMain(argc - 1, argv + 1);
    std::string dir = defaultDirectory();
    std::string name = "tty.usbserial-EMU";
    rz48::emu::PtyHost host;
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
        else if (arg == "--help" || arg == "-h" || arg == "--help-all") {
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

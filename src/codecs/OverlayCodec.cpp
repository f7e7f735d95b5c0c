#include "codecs/OverlayCodec.h"

#include "codecs/ColorCode.h"
#include "codecs/ProtocolLetters.h"
#include "common/Picture.h"

namespace rz48::overlay {

int positionX(double left)
{
    const int x = codecs::wholePart(left);
    const int field = x <= 2047 ? x / 8 : 255;
    return field < 0 ? 0 : field;
}

int positionY(double bottom, double height)
{
    const long long top = kPictureHeight - (long long)codecs::wholePart(double(codecs::wholePart(bottom)) + height);
    const long long field = top <= 1023 ? top / 4 : 255;
    return field < 0 ? 0 : int(field);
}

QString annunciatorCommand(int mode, int text, int box, int x, int y, int size)
{
    return protocol::commandLine('U', {mode, text, box, x, y, size});
}

QString timecodeCommand(int size, bool visible, int x, int y, int pair)
{
    return protocol::commandLine('m', {size + (visible ? 128 : 0), x, y, pair});
}

QString textParamsCommand(int size, int x, int y, int pair)
{
    return protocol::commandLine('r', {size, x, y, pair});
}

QString annunciatorColorsCommand(int rehearse, int record, int playback)
{
    return protocol::commandLine('t', {rehearse, record, playback});
}

QString comCommand(bool sony)
{
    return protocol::commandLine('n', {sony ? 1 : 0});
}

QString sampleTextCommand()
{
    return QStringLiteral("V Text line 1\\nText line 2");
}

void ColorPair::setReported(uint32_t pair)
{
    text = pairText(pair);
    box = pairBox(pair);
    reportedPair = pair;
}

void ColorPair::choose(bool textSide, int64_t number)
{
    (textSide ? text : box) = number;
    reportedPair.reset();
}

namespace {

// "m" and "r": size (masked), x, y, colour pair; the numbers read.
std::vector<int64_t> readBox(const QString& line, int sizeMask, BoxSettings& box, ColorPair& colors)
{
    std::vector<int64_t> f = protocol::reportNumbers(line);
    const size_t n = f.size();
    if (n >= 4)
        colors.setReported(uint32_t(f[3]));
    if (n >= 3)
        box.y = f[2];
    if (n >= 2)
        box.x = f[1];
    if (n >= 1)
        box.size = f[0] & sizeMask;
    return f;
}

int inRangeOrZero(int64_t value, int count)
{
    return value >= 0 && value < count ? int(value) : 0;
}

} // namespace

size_t readAnnunciatorReport(const QString& line, OverlaySettings& s)
{
    const std::vector<int64_t> f = protocol::reportNumbers(line);
    const size_t n = f.size();
    if (n >= 6)
        s.annunciator.size = f[5];
    if (n >= 5)
        s.annunciator.y = f[4];
    if (n >= 4)
        s.annunciator.x = f[3];
    if (n >= 3)
        s.annunciatorColors[0].choose(false, f[2]);
    if (n >= 2)
        s.annunciatorColors[0].choose(true, f[1]);
    s.mode = n >= 1 ? f[0] : -1;
    return n;
}

size_t readTimecodeReport(const QString& line, OverlaySettings& s)
{
    const std::vector<int64_t> f = readBox(line, 7, s.timecode, s.timecodeColors);
    if (!f.empty())
        s.timecodeVisible = (f[0] & 0x80) != 0;
    return f.size();
}

size_t readTextReport(const QString& line, OverlaySettings& s)
{
    return readBox(line, 3, s.text, s.textColors).size();
}

size_t readAnnunciatorColorsReport(const QString& line, OverlaySettings& s)
{
    const std::vector<int64_t> f = protocol::reportNumbers(line);
    for (size_t i = 0; i < f.size(); ++i)
        s.annunciatorColors[i].setReported(uint32_t(f[i]));
    return f.size();
}

size_t readProtocolReport(const QString& line, OverlaySettings& s)
{
    const std::vector<int64_t> f = protocol::reportNumbers(line);
    s.protocol = f.empty() ? -1 : f[0];
    return f.size();
}

QString annunciatorCommand(const OverlaySettings& s)
{
    const ColorPair& colors = s.annunciatorColors[0];
    return annunciatorCommand(inRangeOrZero(s.mode, kModes), int(colors.text), int(colors.box), int(s.annunciator.x),
                              int(s.annunciator.y), int(s.annunciator.size));
}

QString timecodeCommand(const OverlaySettings& s)
{
    return timecodeCommand(int(s.timecode.size), s.timecodeVisible, int(s.timecode.x), int(s.timecode.y), s.timecodeColors.field());
}

QString textParamsCommand(const OverlaySettings& s)
{
    return textParamsCommand(int(s.text.size), int(s.text.x), int(s.text.y), s.textColors.field());
}

QString annunciatorColorsCommand(const OverlaySettings& s)
{
    return annunciatorColorsCommand(s.annunciatorColors[0].field(), s.annunciatorColors[1].field(),
                                    s.annunciatorColors[2].field());
}

QString comCommand(const OverlaySettings& s)
{
    return comCommand(s.protocol == 1);
}

} // namespace rz48::overlay

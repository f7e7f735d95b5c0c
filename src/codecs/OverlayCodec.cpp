#include "codecs/OverlayCodec.h"

#include "common/FieldScanner.h"
#include "codecs/ColorCode.h"
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
    return QString::asprintf("U %d %d %d %d %d %d", mode, text, box, x, y, size);
}

QString timecodeCommand(int size, bool visible, int x, int y, int pair)
{
    return QString::asprintf("m %d %d %d %d", size + (visible ? 128 : 0), x, y, pair);
}

QString textParamsCommand(int size, int x, int y, int pair)
{
    return QString::asprintf("r %d %d %d %d", size, x, y, pair);
}

QString annunciatorColorsCommand(int rehearse, int record, int playback)
{
    return QString::asprintf("t %x %x %x", unsigned(rehearse), unsigned(record), unsigned(playback));
}

QString comCommand(bool sony)
{
    return QString::asprintf("n %d", sony ? 1 : 0);
}

QString sampleTextCommand()
{
    return QStringLiteral("V Text line 1\\nText line 2");
}

std::vector<int64_t> reportNumbers(const QString& line, int count, bool hex)
{
    std::vector<int64_t> numbers;
    FieldScanner scan(line);
    while (int(numbers.size()) < count && !scan.atEnd()) {
        if (hex) {
            uint32_t v = 0;
            if (!scan.scanHex(v))
                break;
            numbers.push_back(v);
        } else {
            int32_t v = 0;
            if (!scan.scanInt(v))
                break;
            numbers.push_back(v);
        }
    }
    return numbers;
}

} // namespace rz48::overlay

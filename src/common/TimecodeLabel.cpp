#include "common/TimecodeLabel.h"

namespace rz48 {

bool labelExists(int hours, int minutes, int seconds, int frames, int type)
{
    if (type < 0 || type > 3)
        return false;
    const int rate = type == 0 ? 24 : type == 1 ? 25 : 30;
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59 || seconds < 0 || seconds > 59 || frames < 0 || frames >= rate)
        return false;
    return !(type == 2 && seconds == 0 && frames < 2 && minutes % 10 != 0);
}

int labelRate(int type)
{
    switch (type) {
    case 0: return 24;
    case 1: return 25;
    case 2:
    case 3: return 30;
    default: return 0;
    }
}

int64_t framesPerDay(int type)
{
    return type == 2 ? int64_t(2589408) : int64_t(labelRate(type)) * 86400;
}

int64_t frameOfLabel(int hours, int minutes, int seconds, int frames, int type)
{
    const int rate = labelRate(type);
    if (rate == 0)
        return -1;
    if (type == 2 && seconds == 0 && frames < 2 && minutes % 10 != 0)
        frames = 2; // a skipped label stands for the first label of its minute
    const int64_t totalMinutes = int64_t(hours) * 60 + minutes;
    int64_t n = (totalMinutes * 60 + seconds) * rate + frames;
    if (type == 2)
        n -= 2 * (totalMinutes - totalMinutes / 10);
    return n;
}

QString labelOfFrame(int64_t frame, int type)
{
    const int rate = labelRate(type);
    if (rate == 0)
        return {};
    const int64_t day = framesPerDay(type);
    int64_t n = frame % day;
    if (n < 0)
        n += day;
    if (type == 2) {
        // Put back the labels skipped before this frame: 18 in every ten
        // minutes (17982 frames), 2 in every minute (1798 frames) after the
        // first of the ten.
        const int64_t tens = n / 17982;
        const int64_t rest = n % 17982;
        n += 18 * tens + (rest < 2 ? 0 : 2 * ((rest - 2) / 1798));
    }
    const int fields[4] = {int(n / (int64_t(rate) * 3600)), int((n / (int64_t(rate) * 60)) % 60), int((n / rate) % 60),
                           int(n % rate)};
    QString label(11, u':');
    for (int i = 0; i < 4; ++i) {
        label[3 * i] = QChar(u'0' + fields[i] / 10);
        label[3 * i + 1] = QChar(u'0' + fields[i] % 10);
    }
    if (type == 2)
        label[8] = u';';
    return label;
}

std::optional<int64_t> frameOfLabelText(QStringView text, int type)
{
    text = text.trimmed();
    const int rate = labelRate(type);
    if (rate == 0 || text.size() < 10 || text.size() > 11)
        return std::nullopt;
    int fields[4] = {0, 0, 0, 0};
    qsizetype pos = 0;
    for (int f = 0; f < 4; ++f) {
        const int digits = (f == 0 && text.size() == 10) ? 1 : 2;
        for (int d = 0; d < digits; ++d, ++pos) {
            const char16_t c = text[pos].unicode();
            if (c < u'0' || c > u'9')
                return std::nullopt;
            fields[f] = fields[f] * 10 + (c - u'0');
        }
        if (f < 3) {
            const char16_t c = text[pos++].unicode();
            if (c != u':' && c != u';' && c != u'.')
                return std::nullopt;
        }
    }
    if (fields[0] > 23 || fields[1] > 59 || fields[2] > 59 || fields[3] >= rate)
        return std::nullopt;
    return frameOfLabel(fields[0], fields[1], fields[2], fields[3], type);
}

} // namespace rz48

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

} // namespace rz48

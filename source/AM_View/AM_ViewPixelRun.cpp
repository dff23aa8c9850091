#include "AM_ViewPixelRun.h"

#include "AM_Log.h"

AM_ViewPixelRun::AM_ViewPixelRun(i32 newX, i32 newY, u16 dataLengthInPixels, const u8* data)
    : x(newX), y(newY), length(dataLengthInPixels), pixels(data) {
    if (dataLengthInPixels == 0)
        AM_Log("error: AM_ViewPixelRun::AM_ViewPixelRun -> dataLengthInPixels == 0");
}

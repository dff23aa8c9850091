#include "AM_PngGraphic.h"

#include "AM_Log.h"
#include "AM_Text.h"

bool AM_PngGraphic::setFile(const char* path) {
    unload();
    pngFileName[0] = '\0';
    if (AM_STD::Strlen(path) >= sizeof pngFileName) {
        AM_Log("Graphic '%s' has too long a file name: '%s'", name, path);
        return false;
    }
    AM_STD::copyText(pngFileName, path);
    return true;
}

void AM_PngGraphic::setScreenGamma(f32 gamma) {
    if (gamma == screenGamma || gamma != gamma) return;
    screenGamma = gamma;
    unload();
}

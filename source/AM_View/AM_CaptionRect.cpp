#include "AM_CaptionRect.h"

void AM_CaptionRect::addProperties(AM_PropertyTable* table) {
    AM_RoundRect::addProperties(table);
    table->push_back(row("caption", &caption, 0, 4096, 20));
}

void AM_CaptionRect::paint(const Canvas& canvas) {
    paintBox(canvas, canvas.rect, canvas.crisp(caption * canvas.unit));
}

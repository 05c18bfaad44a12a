#include "filters/PointWalk.h"

PixelSides ColourSidesOf(ImageClassData* source, ImageClassData* dest) {
    PixelSides sides = SidesOf(source, dest);
    if (sides.count() > 0 && source->HasAlpha) {  // alpha is the last
        --sides.source.channels.count;
        --sides.dest.channels.count;
    }
    return sides;
}

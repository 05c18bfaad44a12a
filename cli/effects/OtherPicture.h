#pragma once
// What effects share that bring another picture, from a file, together with the one at work.

#include <string>

#include "Raster.h"
#include "effects/Arguments.h"

// Where the two pictures meet: the corner of the common rectangle on each, and its size.
struct Meeting {
    int x, y;
    int fileX, fileY;
    int width, height;  // below 1: they do not meet
};
Meeting Meet(const ImageShape& picture, const ImageShape& file, const AreaRequest& at);

// The shape that a file says it has. False: it can be opened once only, as a pipe, and must be left for the work.
bool PeekShape(const std::string& path, ImageShape* shape);

// The whole file, without remarks. A RunError as of LoadPicture.
Raster LoadWhole(const std::string& path);

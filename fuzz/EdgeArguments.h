#pragma once
// Arguments at the edges of what methods take, by the names that the declarations give them.
//
// They are bounded where a method has to work for as long as it is asked to, or has as much memory as it is asked for:
// so that a call takes milliseconds, and a finding that hangs or needs gigabytes is one.

#include <cstdint>
#include <string>
#include <vector>

#include "Input.h"
#include "core/ImageClassData.h"

// For a parameter of that name, in any spelling, of a method of an image (or null).
int EdgeNumber(Input& input, const std::string& name, const zor::ImageClassData* image);
double EdgeReal(Input& input);
std::vector<int> EdgeArray(Input& input);
std::string EdgeText(Input& input);

// Width and height of a new image, bounded to what is made at once or is refused.
void BoundImageSize(int* width, int* height);
// The same where any size that a number tells would be made: of files.
void BoundFileSize(int* width, int* height);

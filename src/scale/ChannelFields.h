#pragma once
// Channels by name, for tables that tell which bytes of a pixel are read and which are written.

#include "core/ImageClassData.h"

using ChannelOffsetField = int ImageClassData::*;

namespace channel_fields {
inline constexpr ChannelOffsetField kGray = &ImageClassData::GrayOffset;
inline constexpr ChannelOffsetField kRed = &ImageClassData::RedOffset;
inline constexpr ChannelOffsetField kGreen = &ImageClassData::GreenOffset;
inline constexpr ChannelOffsetField kBlue = &ImageClassData::BlueOffset;
inline constexpr ChannelOffsetField kAlpha = &ImageClassData::AlphaOffset;
inline constexpr ChannelOffsetField kCyan = &ImageClassData::CyanOffset;
inline constexpr ChannelOffsetField kMagenta = &ImageClassData::MagentaOffset;
inline constexpr ChannelOffsetField kYellow = &ImageClassData::YellowOffset;
inline constexpr ChannelOffsetField kBlack = &ImageClassData::BlackOffset;
}  // namespace channel_fields

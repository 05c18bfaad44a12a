#pragma once
// The channels that conversions of the scaler read and write, in the order in which they do so.

#include "core/Channels.h"

namespace zor {

namespace channel_lists {
using enum ChannelId;
inline constexpr ChannelList kG = {1, {gray}};
inline constexpr ChannelList kGA = {2, {gray, alpha}};
inline constexpr ChannelList kRGB = {3, {red, green, blue}};
inline constexpr ChannelList kRGBA = {4, {red, green, blue, alpha}};
inline constexpr ChannelList kCMYK = {4, {cyan, magenta, yellow, black}};
inline constexpr ChannelList kCMYKA = {5, {cyan, magenta, yellow, black, alpha}};
inline constexpr ChannelList kK = {1, {black}};
inline constexpr ChannelList kKA = {2, {black, alpha}};
}  // namespace channel_lists

}  // namespace zor

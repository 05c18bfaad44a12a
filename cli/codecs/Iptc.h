#pragma once
// The records of IPTC, in which agencies and archives keep captions, and Photoshop's block around them.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// The records in a block of Photoshop's resources (each "8BIM", a number, a name and bytes); empty: it has none.
std::vector<std::uint8_t> IptcOfPhotoshop(const std::vector<std::uint8_t>& block);

// A block of Photoshop's with these records only.
std::vector<std::uint8_t> PhotoshopOfIptc(const std::vector<std::uint8_t>& records);

// The records for a picture whose pixels may be others: as they are, up to where they are damaged, without the small
// copy of the picture that was.
std::vector<std::uint8_t> TrueIptc(const std::vector<std::uint8_t>& records);

// What people look for: "headline", "caption", "keyword" ... and the text.
std::vector<std::pair<std::string, std::string>> TextsOfIptc(const std::vector<std::uint8_t>& records);

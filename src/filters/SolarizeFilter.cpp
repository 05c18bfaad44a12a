#include "filters/SolarizeFilter.h"

#include "filters/FilterFrame.h"

// From 255 down to 0 in the middle and up again, in steps of about two. The uneven steps belong to the curve.
// clang-format off
const ByteTable SolarizeTable = {{
    255, 253, 251, 249, 247, 245, 243, 241, 239, 237, 235, 233, 231, 229, 227, 225,
    223, 221, 219, 217, 215, 213, 211, 209, 207, 205, 203, 201, 199, 197, 195, 193,
    191, 189, 187, 185, 183, 180, 179, 177, 175, 173, 171, 169, 167, 164, 163, 161,
    159, 157, 155, 153, 151, 148, 147, 145, 143, 141, 139, 137, 135, 132, 131, 129,
    127, 125, 122, 121, 119, 117, 114, 113, 111, 109, 106, 105, 103, 101,  98,  97,
     95,  93,  90,  89,  87,  85,  82,  81,  79,  77,  74,  73,  71,  69,  66,  65,
     63,  61,  58,  56,  55,  53,  50,  48,  47,  45,  42,  40,  39,  37,  34,  32,
     31,  29,  26,  24,  23,  21,  18,  16,  15,  13,  10,   8,   7,   5,   2,   0,
      0,   2,   4,   6,   9,  11,  13,  15,  16,  18,  20,  22,  25,  27,  29,  31,
     32,  34,  36,  38,  41,  43,  45,  47,  48,  50,  52,  54,  57,  59,  61,  63,
     65,  66,  68,  70,  73,  75,  77,  79,  81,  82,  84,  86,  89,  91,  93,  95,
     97,  98, 100, 102, 105, 107, 109, 111, 113, 114, 116, 118, 121, 123, 125, 127,
    129, 131, 132, 134, 137, 139, 141, 143, 145, 147, 148, 150, 153, 155, 157, 159,
    161, 163, 164, 166, 169, 171, 173, 175, 177, 179, 180, 182, 185, 187, 189, 191,
    193, 195, 196, 198, 201, 203, 205, 207, 209, 211, 212, 214, 217, 219, 221, 223,
    225, 227, 228, 230, 233, 235, 237, 239, 241, 243, 244, 246, 249, 251, 253, 255,
}};
// clang-format on

REALobject SolarizeFilter(REALobject object, REALobject dest) {
    return FilterInto(object, dest, [](ImageClassData* source, ImageClassData* target) {
        const PixelSides sides = SidesOf(source, target);
        ByteTable tables[ChannelSet::kMax];
        std::fill_n(tables, sides.count(), SolarizeTable);
        MapThroughTables(sides, WholeImage(source), tables);
    });
}

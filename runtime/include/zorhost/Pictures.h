#pragma once
// Pictures of the host: made, filled, read, and kept in files. A picture is an Object of the class "Picture", as the
// methods of a plug-in take and give it; it has the properties Width, Height, Depth, Mask and Graphics.
//
//     zorhost::Object photo = zorhost::LoadPicture(host, "photo.jpg");
//     zorhost::Object image = host.New("PictureZOR", photo);                  // works on the picture's own pixels
//     zorhost::SavePicture(host, image.Call("CopyPicture").AsObject(), "copy.png");
//
// All functions throw Error for an object that is no picture, and name what is wrong. The GD library (libgd.so.3) is
// opened when the first picture or file needs it; where it is missing an Error says so, and plug-ins get no pictures.

#include <filesystem>
#include <vector>

#include "zorhost/Host.h"

namespace zorhost {

// A white picture of 1 to 32767 pixels a side. On the desktop it is a GWorld of 32, 24, 16, 8 (gray) or 1 bits;
// elsewhere it is an image of the GD library, true colour from 16 bits on, and at 8 and 1 bits one with a palette,
// which plug-ins refuse. Throws Error for another size or depth, and where memory runs out.
Object MakePicture(Host& host, int width, int height, int depth = 32, Place where = Place::Here());

// A picture whose pixels plug-ins cannot reach, as those with drawing commands or of a printer are: its description
// tells another kind, and all that can be done with it is to draw it into a picture of the usual kind.
Object MakeForeignPicture(Host& host, int width, int height, Place where = Place::Here());

// A copy of the pixels, from the top row, without padding: `channels` bytes a pixel, red, green, blue and, with four,
// the opacity.
struct PixelRows {
    int width = 0;     // pixels
    int height = 0;    // rows
    int channels = 3;  // 3 or 4
    std::vector<unsigned char> bytes;

    friend bool operator==(const PixelRows&, const PixelRows&) = default;
};

// A picture has its opacity in its mask. In the masks that the plug-in makes and reads, white is opaque; where the host
// language draws a picture with a mask, black is.
enum class MaskSense { WhiteIsOpaque, BlackIsOpaque };

// The colours of a picture, or of the GWorld that a GWorldZOR owns. With four channels the opacity is the red of the
// mask, and 255 where there is no mask. Throws Error for another number of channels.
PixelRows ReadPicture(Host& host, const Object& picture, int channels = 3, MaskSense sense = MaskSense::WhiteIsOpaque);

// Puts pixels in place of those of a picture of that size; with four channels into its mask too, which is made if need
// be. Depths with fewer colours take the nearest they have. Throws Error where sizes differ.
void WritePicture(Host& host, const Object& picture, const PixelRows& rows, MaskSense sense = MaskSense::WhiteIsOpaque);

// A new picture of 32 bits of those pixels.
Object MakePicture(Host& host, const PixelRows& rows, MaskSense sense = MaskSense::WhiteIsOpaque,
                   Place where = Place::Here());

// The mask of a picture, or an empty handle; with create, one of the picture's size is made where there is none, white
// as every new picture. SetMask takes an empty handle too, and throws Error for a picture that would be its own mask.
Object MaskOf(Host& host, const Object& picture, bool create = false);
void SetMask(Host& host, const Object& picture, const Object& mask);

// Reads a PNG or JPEG file, whichever its contents are, into a picture of 32 bits. Transparency of a PNG becomes a
// mask; a file without any gives a picture without a mask. The GD library keeps seven bits of opacity, of which 0 and
// 127 are 0 and 255. Throws Error with the file's name and what is wrong with it.
Object LoadPicture(Host& host, const std::filesystem::path& path, MaskSense sense = MaskSense::WhiteIsOpaque,
                   Place where = Place::Here());

struct SaveOptions {
    int quality = 90;                            // of JPEG: 1 to 100
    MaskSense sense = MaskSense::WhiteIsOpaque;  // of the mask, which goes to PNG as seven bits of opacity
};

// Writes a PNG or JPEG file, by the name's suffix. JPEG keeps no mask. The file is there as a whole or not at all:
// until it is complete, one of that name stays as it was. Throws Error with the file's name and what is wrong.
void SavePicture(Host& host, const Object& picture, const std::filesystem::path& path, const SaveOptions& options = {});

// What a picture is to a plug-in, and the locks on it.
struct PictureInfo {
    int kind = 0;  // of its description: 4 for a GWorld, 10 for a GD image, another for a foreign picture
    int width = 0;
    int height = 0;
    int depth = 0;  // bits a pixel
    bool hasMask = false;
    int descriptionLocks = 0;  // taken and not given back
    int pixelLocks = 0;        // the same of a GWorld's pixels
    int cacheClears = 0;       // how often a plug-in told that it changed the pixels
};
PictureInfo InfoOf(Host& host, const Object& picture);

// Locks that are held in the whole host: on descriptions of pictures, on the pixels of GWorlds whoever owns them, and
// on objects, handles of the program included. A call that gives back what it takes leaves the balance as it was.
struct LockBalance {
    int descriptions = 0;
    int pixels = 0;
    int objects = 0;
    int gworlds = 0;  // GWorlds alive, those of pictures included

    friend bool operator==(const LockBalance&, const LockBalance&) = default;
};
LockBalance LocksHeld(Host& host);

}  // namespace zorhost

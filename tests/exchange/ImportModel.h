#pragma once
// A slow, separate twin of the import of host pictures, told byte by byte over whole storages, and what its tests need:
// pictures and picture-backed images of all kinds.

#include <cstdint>
#include <string>
#include <vector>

#include "support/FakePictures.h"
#include "support/Images.h"

enum class ImportMember { colours, redToGray, greenToGray, blueToGray, masked, applyMask };
constexpr ImportMember kImportMembers[] = {ImportMember::colours,    ImportMember::redToGray, ImportMember::greenToGray,
                                           ImportMember::blueToGray, ImportMember::masked,    ImportMember::applyMask};
std::string NameOf(ImportMember member);

struct ImportArguments {
    int destX, destY, width, height, sourceX, sourceY;
    bool invertMask;
};
std::string TextOf(const ImportArguments& arguments);

// Calls the member's full form.
void CallImport(ImportMember member, const TestImage& image, REALobject picture, const ImportArguments& arguments);

// What a picture holds, as the import sees it.
struct ModelPicture {
    int width = 0;
    int height = 0;
    int pixelSize = 0;
    int red = 0, green = 0, blue = 0;  // bytes from the start of a pixel
    int rowBytes = 0;
    bool rowsApart = false;  // each row has its own storage
    Storage* bytes = nullptr;

    std::uint8_t At(std::int64_t x, std::int64_t y, int offset) const;
};

// The picture as it lies in memory, or, where it is read through a copy, as colours without padding. The bytes go into
// the given storage.
ModelPicture ModelOf(FakePicture& picture, Storage* bytes);

// The import on snapshots; one of them may be the image's own. The mask may be nil.
void ModelImport(ImportMember member, const TestImage& image, Storage* storage, const ModelPicture& picture,
                 const ModelPicture* mask, ImportArguments arguments);

// An image in that picture.
TestImage MakeInPicture(REALobject picture, bool useAlpha);

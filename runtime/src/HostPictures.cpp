#include "HostPictures.h"

#include "Classes.h"
#include "Drawing.h"
#include "HostClasses.h"
#include "Objects.h"

namespace zorhost::runtime {

// At the end of a host, what is held may be gone before the holder.
static void ReleaseIfAlive(REALobject object) {
    if (object && gRuntime && FindObject(*gRuntime, object)) UnlockObject(*gRuntime, object);
}

PictureData::~PictureData() {
    FreeGDImage(gd);
    if (gworld && gRuntime) FreeGWorld(*gRuntime, gworld);
    ReleaseIfAlive(mask);
}

GraphicsData::~GraphicsData() {
    ReleaseIfAlive(picture);
}

std::optional<Value> PictureData::Get(std::string_view property) const {
    if (SameName(property, "Width")) return Value(WidthOf(Pixels()));
    if (SameName(property, "Height")) return Value(HeightOf(Pixels()));
    if (SameName(property, "Depth")) return Value(DepthOf(Pixels()));
    if (SameName(property, "Mask")) return mask ? Value(Object::LockAgain(mask)) : Value();
    if (SameName(property, "Graphics") && gRuntime) {
        return Value(Object::TakeOver(NewGraphics(*gRuntime, self, OriginInCall(*gRuntime))));
    }
    return std::nullopt;
}

bool PictureData::Set(std::string_view property, const Value& value) {
    return SameName(property, "Mask") && gRuntime && SetMask(*gRuntime, *this, value.AsObject().Handle());
}

REALobject NewPicture(Runtime& host, int width, int height, int depth, std::string origin) {
    const bool isKnownDepth = depth == 32 || depth == 24 || depth == 16 || depth == 8 || depth == 1;
    if (!isKnownDepth || width < 1 || height < 1 || width > kLongestSide || height > kLongestSide) return nullptr;
    Surface made;
    if (HasQuickDraw(host)) {
        made.gworld = NewGWorldRecord(host, width, height, depth, origin);
        if (made.gworld) {
            made.gworld->owned = true;
            FillWhite(made);
        }
    } else {
        made.gd = NewGDImage(width, height, depth <= 8);
    }
    if (!made) return nullptr;
    const REALobject picture = NewObject(host, *FindClass(host, "Picture"), std::move(origin));
    PictureData& data = *NativeOf<PictureData>(host, picture);
    data.gd = made.gd;
    data.gworld = made.gworld;
    return picture;
}

REALobject MaskOf(Runtime& host, REALobject picture, bool create) {
    PictureData* const data = NativeOf<PictureData>(host, picture);
    if (!data || !data->Pixels()) return nullptr;
    if (!data->mask && create) {
        const Surface pixels = data->Pixels();
        const std::string origin = "as the mask of a picture made " + FindObject(host, picture)->origin;
        data->mask = NewPicture(host, WidthOf(pixels), HeightOf(pixels), 32, origin);
    }
    if (data->mask) LockObject(host, data->mask);
    return data->mask;
}

bool SetMask(Runtime& host, PictureData& picture, REALobject mask) {
    const PictureData* level = NativeOf<PictureData>(host, mask);
    if (mask && !level) return false;
    for (; level; level = NativeOf<PictureData>(host, level->mask)) {
        if (level == &picture) return false;
    }
    if (mask) LockObject(host, mask);
    const REALobject old = picture.mask;
    picture.mask = mask;
    if (old) UnlockObject(host, old);
    return true;
}

REALobject NewGraphics(Runtime& host, REALobject picture, std::string origin) {
    const PictureData* const data = NativeOf<PictureData>(host, picture);
    if (!data || !data->Pixels()) return nullptr;
    const REALobject graphics = NewObject(host, *FindClass(host, "Graphics"), std::move(origin));
    LockObject(host, picture);
    NativeOf<GraphicsData>(host, graphics)->picture = picture;
    return graphics;
}

template <class Data>
static std::unique_ptr<NativeData> Make() {
    return std::make_unique<Data>();
}

void AddPictureClasses(Runtime& host) {
    AddHostClass(host, "Picture", nullptr).makeNative = Make<PictureData>;
    Class& graphics = AddHostClass(host, "Graphics", nullptr);
    graphics.makeNative = Make<GraphicsData>;
    Method& draw = graphics.methods.emplace_back();
    draw.function = reinterpret_cast<REALfunction>(DrawPicture_Service);
    draw.about.declaration =
        "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, "
        "sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";
    draw.about.signature = ParseDeclaration(draw.about.declaration);
    draw.about.available = true;
    if (host.options.hasGWorldClass) AddHostClass(host, "GWorldZOR", nullptr).makeNative = Make<GWorldObjectData>;
}

}  // namespace zorhost::runtime

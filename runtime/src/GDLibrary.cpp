#include "GDLibrary.h"

#include <dlfcn.h>

#include "zorhost/Error.h"

namespace zorhost::runtime {

namespace {

// The library whose records gd.h describes: its number changes when they do.
constexpr const char* kName = "libgd.so.3";

struct OpenedLibrary {
    GDLibrary functions{};
    std::string problem;  // empty where all is there
};

template <class Function>
void Find(OpenedLibrary* opened, void* library, const char* name, Function* function) {
    *function = reinterpret_cast<Function>(dlsym(library, name));
    if (!*function && opened->problem.empty()) opened->problem = std::string(kName) + " has no " + name;
}

OpenedLibrary Open() {
    OpenedLibrary opened;
    void* const library = dlopen(kName, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        opened.problem = dlerror();
        return opened;
    }
    GDLibrary& gd = opened.functions;
    Find(&opened, library, "gdImageCreate", &gd.ImageCreate);
    Find(&opened, library, "gdImageCreateTrueColor", &gd.ImageCreateTrueColor);
    Find(&opened, library, "gdImageDestroy", &gd.ImageDestroy);
    Find(&opened, library, "gdImageColorAllocate", &gd.ImageColorAllocate);
    Find(&opened, library, "gdImageColorResolve", &gd.ImageColorResolve);
    Find(&opened, library, "gdImagePaletteToTrueColor", &gd.ImagePaletteToTrueColor);
    Find(&opened, library, "gdImageSaveAlpha", &gd.ImageSaveAlpha);
    Find(&opened, library, "gdImageCreateFromPngPtr", &gd.ImageCreateFromPngPtr);
    Find(&opened, library, "gdImageCreateFromJpegPtrEx", &gd.ImageCreateFromJpegPtrEx);
    Find(&opened, library, "gdImagePngPtr", &gd.ImagePngPtr);
    Find(&opened, library, "gdImageJpegPtr", &gd.ImageJpegPtr);
    Find(&opened, library, "gdFree", &gd.Free);
    Find(&opened, library, "gdSetErrorMethod", &gd.SetErrorMethod);
    Find(&opened, library, "gdClearErrorMethod", &gd.ClearErrorMethod);
    return opened;
}

const OpenedLibrary& Opened() {
    static const OpenedLibrary opened = Open();
    return opened;
}

}  // namespace

const GDLibrary* FindGD() {
    return Opened().problem.empty() ? &Opened().functions : nullptr;
}

const GDLibrary& NeedGD() {
    if (const GDLibrary* const gd = FindGD()) return *gd;
    throw Error("pictures need the GD library: " + Opened().problem);
}

}  // namespace zorhost::runtime

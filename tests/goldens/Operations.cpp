#include "goldens/Operations.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "compositing/Combine.h"
#include "core/Construction.h"
#include "core/Factory.h"
#include "core/Formats.h"
#include "core/InPlace.h"
#include "core/PictureImages.h"
#include "core/RowAccess.h"
#include "core/Views.h"
#include "exchange/CopyPixels.h"
#include "exchange/GWorldExport.h"
#include "exchange/PictureExport.h"
#include "exchange/PictureImport.h"
#include "exchange/RowConversion.h"
#include "filters/ApplyMatrix.h"
#include "filters/AutoLevel.h"
#include "filters/BoxBlur.h"
#include "filters/DiffuseFilter.h"
#include "filters/DitherFilter.h"
#include "filters/EngraveFilter.h"
#include "filters/FractionalBlur.h"
#include "filters/FreeRotation.h"
#include "filters/GainFilter.h"
#include "filters/GammaFilter.h"
#include "filters/Mirror.h"
#include "filters/NeonFilter.h"
#include "filters/OilFilter.h"
#include "filters/RightAngle.h"
#include "filters/SolarizeFilter.h"
#include "filters/StampFilter.h"
#include "filters/TransferFilter.h"
#include "filters/Unsharp.h"
#include "plugin/ClassTables.h"
#include "plugin/Declaration.h"
#include "scale/FastScale.h"
#include "scale/FilteredScale.h"

using namespace zor;

namespace {

// --- functions of any type, called with values ----------------------------------------------------------------------

template <class T>
T TakenFrom(const GoldenValue& value) {
    if constexpr (std::is_same_v<T, double>) return value.real;
    if constexpr (std::is_same_v<T, REALobject>) return value.object;
    if constexpr (std::is_same_v<T, REALstring>) return value.string;
    if constexpr (std::is_same_v<T, REALarray>) return value.array;
    if constexpr (std::is_integral_v<T>) return static_cast<T>(value.integer);
}

template <class T>
GoldenValue MadeOf(T result) {
    GoldenValue value;
    if constexpr (std::is_same_v<T, double>) value.real = result;
    if constexpr (std::is_same_v<T, REALobject>) value.object = result;
    if constexpr (std::is_same_v<T, REALstring>) value.string = result;
    if constexpr (std::is_integral_v<T>) value.integer = result;
    return value;
}

template <class Result, class... Args, std::size_t... kIndices>
GoldenValue Call(Result (*function)(Args...), const std::vector<GoldenValue>& values,
                 std::index_sequence<kIndices...>) {
    if constexpr (std::is_void_v<Result>) {
        function(TakenFrom<Args>(values.at(kIndices))...);
        return {};
    } else {
        return MadeOf(function(TakenFrom<Args>(values.at(kIndices))...));
    }
}

class Functions {
public:
    template <class... Results, class... Args>
    explicit Functions(Results (*... functions)(Args...)) {
        (Add(functions), ...);
    }
    template <class Result, class... Args>
    Functions& Add(Result (*function)(Args...)) {
        calls_[reinterpret_cast<REALfunction>(function)] = [function](const std::vector<GoldenValue>& values) {
            return Call(function, values, std::index_sequence_for<Args...>());
        };
        return *this;
    }
    GoldenFunction At(REALfunction function) const {
        const auto found = calls_.find(function);
        return found == calls_.end() ? nullptr : found->second;
    }

private:
    std::map<REALfunction, GoldenFunction> calls_;
};

template <class... Members>
Functions AllOf(Members... members) {
    Functions functions;
    (functions.Add(members), ...);
    return functions;
}

Functions MembersThatMakePixels() {
    return AllOf(
        PictureCombine1, PictureCombine2, PictureCombine3, PictureCombine1pm, PictureCombine2pm, PictureCombine3pm,
        CreatePictureLocal, ScalePictureFast, PictureScaleZOR, PictureScaleZORMT, ImageConstructorFile,
        ImageConstructor, ImageConstructorPicture, ImageConstructorMemory, OilFilter, DifuseFilter, EngraveFilter,
        NeonFilter, BoxBlurFilter, BoxBlurFilter2, BoxBlurFractionalFilter, SolarizeFilter, GammaFilterG, GammaFilterGA,
        GammaFilterRGB, GammaFilterRGBA, DitherFilter, GainFilter, StampFilter, TransferFilterG, TransferFilterGA,
        TransferFilterRGB, TransferFilterRGBA, unsharpFilter, AlphaChannel, RedChannel, GreenChannel, BlueChannel,
        GrayChannel, RGBChannel, CMYKChannel, CyanChannel, MagentaChannel, YellowChannel, BlackChannel, Channel,
        GetMirroredView, HMirrorSelf, VMirrorSelf, Rotate180Self, Invert1, Invert5, AutoLevel1, AutoLevel5,
        rbCopyPictureWithMask, rbCopyPictureWithMaskAll, rbCopyPicture, rbCopyPictureAll, rbCopyMask, rbCopyMaskAll,
        rbGetRow, rbGetRowCopy, rbSetRow, rbGetRowF, rbSetRowF, rbGetRowFI, rbSetRowFI, rbGetRowFS, rbSetRowFS,
        rbGetAllFS, rbSetAllFS, Clone, ClearRect1, ClearRect5, CompareImages, FillRect1, FillRect5, FillRectRandom1,
        FillRectRandom5, FillRectRGB1, FillRectRGBA1, FillRectRGB5, FillRectRGBA5, FillRectRGBc1, FillRectRGBcA1,
        FillRectRGBc5, FillRectRGBcA5, FillRectApplyRGBA1, FillRectApplyRGBA5, FillRectApplyRGBcA1, FillRectApplyRGBcA5,
        rbDrawPictureRedToGrayChannel6, rbDrawPictureRedToGrayChannel8, rbDrawPictureGreenToGrayChannel6,
        rbDrawPictureGreenToGrayChannel8, rbDrawPictureBlueToGrayChannel6, rbDrawPictureBlueToGrayChannel8,
        rbDrawPictureRGB2, rbDrawPictureRGB4, rbDrawPictureRGB6, rbDrawPictureRGB8, rbDrawMaskedPictureRGB2,
        rbDrawMaskedPictureRGB4, rbDrawMaskedPictureRGB6, rbDrawMaskedPictureRGB8, rbDrawPictureApplyMaskRGB2,
        rbDrawPictureApplyMaskRGB4, rbDrawPictureApplyMaskRGB6, rbDrawPictureApplyMaskRGB8, rbCopyPixels2,
        rbCopyPixels6, rbCopyPixels8, ClipImage1, ClipImage5, Rotate90, Rotate180, Rotate270, rbRotate, Rotate90fast,
        Rotate270fast, PictureMatrix3, PictureMatrix4, PictureMatrix5, CopyGWorld, CreatePictureGlobal);
}

// --- declarations ---------------------------------------------------------------------------------------------------

std::string InSmallLetters(std::string_view text) {
    std::string small(text);
    std::ranges::transform(small, small.begin(), declaration::SmallLetter);
    return small;
}

// The tables hold no declaration that does not parse: it would not have compiled.
GoldenOperation Described(const char* text, std::string* result) {
    declaration::Reader reader{text};
    GoldenOperation operation;
    operation.declaration = text;
    operation.method = reader.Word();
    if (reader.TakeIf('(')) {
        do {
            GoldenParameter parameter;
            parameter.name = InSmallLetters(reader.Word());
            const bool isArray = reader.TakeIf('(') && reader.TakeIf(')');
            reader.TakeIf("as");
            parameter.type = InSmallLetters(reader.Word());
            if (isArray) parameter.type = "array";
            if (reader.TakeIf('=')) reader.rest.remove_prefix(reader.rest.find_first_of(",)"));
            operation.parameters.push_back(parameter);
        } while (reader.TakeIf(','));
        reader.TakeIf(')');
    }
    if (reader.TakeIf("as")) *result = InSmallLetters(reader.Word());
    return operation;
}

}  // namespace

std::vector<GoldenOperation> GoldenOperations() {
    const Functions functions = MembersThatMakePixels();
    std::vector<GoldenOperation> operations;
    std::set<REALfunction> seen;
    const auto add = [&](const REALmethodDefinition& row, REALfunction function, bool shared, bool assigns) {
        if (!function || !seen.insert(function).second) return;
        std::string result;
        GoldenOperation operation = Described(row.declaration, &result);
        operation.shared = shared;
        operation.call = functions.At(function);
        if (assigns) {
            operation.method += " =";
            operation.parameters.push_back({"value", result});
        }
        operations.push_back(std::move(operation));
    };
    if (ImageClass.methodCount == 0) DescribeClasses();  // the plug-in has not started yet, which does it too
    for (REALword i = 0; i < ImageClass.methodCount; ++i) {
        add(ImageClass.methods[i], ImageClass.methods[i].function, false, false);
        add(ImageClass.methods[i], ImageClass.methods[i].setterFunction, false, true);
    }
    for (REALword i = 0; i < ImageClass.sharedMethodCount; ++i) {
        add(ImageClass.sharedMethods[i], ImageClass.sharedMethods[i].function, true, false);
    }
    return operations;
}

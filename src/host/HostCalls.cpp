#include "host/HostCalls.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace zor {

REALresolver gResolver = nullptr;
double rbversion_rbversion = 0;
std::atomic<bool> IsConsole = false;
std::atomic<bool> IsDesktop = false;

namespace {

// One function of the host. It is looked up at first use and kept; a failed look-up is tried again. Threads that meet
// at the first use find the same.
template <class Result, class... Args>
struct HostFunction {
    using Function = Result (*)(Args...);
    const char* name;
    std::atomic<Function> known = nullptr;

    constexpr explicit HostFunction(const char* hostName) : name(hostName) {}

    Function Find() {
        Function function = known.load(std::memory_order_acquire);
        if (!function && gResolver) {
            function = reinterpret_cast<Function>(gResolver(name));
            known.store(function, std::memory_order_release);
        }
        return function;
    }
    Result operator()(Args... args) {
        if (const Function function = Find()) return function(args...);
        return Result();
    }
};

}  // namespace

// --- classes, objects, events ---------------------------------------------------------------------------------------

void REALRegisterClass(REALclassDefinition* definition) {
    static HostFunction<void, REALclassDefinition*> call("PluginRegisterClass");
    call(definition);
}

void* REALGetClassRef(const char* name) {
    static HostFunction<void*, const char*> call("pluginObjectType");
    return call(name);
}

REALobject REALnewInstance(const char* className) {
    static HostFunction<REALobject, const char*> call("PluginNewInstance");
    return call(className);
}

void REALLockObject(REALobject object) {
    static HostFunction<void, REALobject> call("REALLockObject");
    call(object);
}

void REALUnlockObject(REALobject object) {
    static HostFunction<void, REALobject> call("REALUnlockObject");
    call(object);
}

void* REALGetEventInstance(REALobject object, const REALevent* event) {
    static HostFunction<void*, REALobject, REALword> call("GetEventInstance");
    return call(object, event->identifier);
}

REALboolean REALGetPropValue(REALobject object, const char* property, int* value) {
    static HostFunction<REALboolean, REALobject, const char*, int*> call("REALGetPropValueInt");
    return call(object, property, value);
}

REALboolean REALSetPropValue(REALobject object, const char* property, REALstring value) {
    static HostFunction<REALboolean, REALobject, const char*, REALstring> call("REALSetPropValueString");
    return call(object, property, value);
}

void* REALLoadObjectMethod(REALobject object, const char* declaration) {
    static HostFunction<void*, REALobject, const char*> call("REALLoadObjectMethod");
    return call(object, declaration);
}

// --- exceptions -----------------------------------------------------------------------------------------------------

void REALRaiseException(REALobject exception) {
    static HostFunction<void, REALobject> call("RuntimeRaiseException");
    call(exception);
}

void RaiseException(const char* className, const char* message) {
    REALobject exception = REALnewInstance(className);
    if (!exception) exception = REALnewInstance("NilObjectException");
    if (!exception) return;
    REALstring text = nullptr;
    if (message) text = REALBuildUnicodeString(message, static_cast<int>(std::strlen(message)), kREALEncodingASCII);
    // Raising only marks the exception: the host delivers it when the method has returned, so the message still
    // finds its way in.
    REALRaiseException(exception);
    REALSetPropValue(exception, "Message", text);
    REALUnlockString(text);
}

void RaiseOutOfBoundsException(std::int64_t value, std::int64_t low, std::int64_t high, const char* parameterName,
                               const char* methodName) {
    const char* const parameter = parameterName ? parameterName : "?";
    const char* const method = methodName ? methodName : "?";
    const std::size_t size = std::strlen(parameter) + std::strlen(method) + 200;
    char* const text = static_cast<char*>(std::calloc(size, 1));
    if (!text) {
        RaiseException("OutOfBoundsException", "");
        return;
    }
    std::snprintf(text, size, "Parameter %s to method %s is too %s. Range is %lld to %lld, but value is %lld.",
                  parameter, method, value >= low ? "big" : "small", static_cast<long long>(low),
                  static_cast<long long>(high - 1), static_cast<long long>(value));
    RaiseException("OutOfBoundsException", text);
    std::free(text);
}

// --- arrays ---------------------------------------------------------------------------------------------------------

int REALGetArrayUBound(REALarray array) {
    static HostFunction<int, REALarray> call("RuntimeUBound");
    return call(array);
}

int REALGetArrayInt(REALarray array, int index) {
    static HostFunction<int, REALarray, int> call("RuntimeDirectReadIntArray");
    return call(array, index);
}

// --- strings --------------------------------------------------------------------------------------------------------

void REALLockString(REALstring string) {
    static HostFunction<void, REALstring> call("REALLockString");
    call(string);
}

void REALUnlockString(REALstring string) {
    static HostFunction<void, REALstring> call("REALUnlockString");
    if (string) call(string);
}

REALstring originalREALBuildString(const void* bytes, int length) {
    static HostFunction<REALstring, const void*, int> call("REALBuildString");
    return call(bytes, length);
}

unsigned REALGetStringEncoding(REALstring string) {
    static HostFunction<unsigned, REALstring> call("REALGetStringEncoding");
    return call(string);
}

void REALSetStringEncoding(REALstring string, unsigned encoding) {
    static HostFunction<void, REALstring, unsigned> call("REALSetStringEncoding");
    call(string, encoding);
}

REALstring REALConvertString(REALstring string, unsigned encoding) {
    static HostFunction<REALstring, REALstring, unsigned> call("REALConvertString");
    return call(string, encoding);
}

// For hosts without PluginGetStringData: a copy of the bytes, with four zero bytes behind them.
static bool CopyStringData(REALstring string, unsigned encoding, REALstringData* data) {
    static HostFunction<const char*, REALstring> getCString("StringGetCString");
    static HostFunction<void*, const char*> loadGlobalMethod("REALLoadGlobalMethod");
    using LenB = int (*)(REALstring);
    static std::atomic<LenB> knownLenB = nullptr;
    LenB lenB = knownLenB.load(std::memory_order_acquire);
    if (!lenB) {
        lenB = reinterpret_cast<LenB>(loadGlobalMethod("LenB( s as string ) as integer"));
        knownLenB.store(lenB, std::memory_order_release);
    }
    if (!getCString.Find() || !lenB || !string) return false;

    REALstring converted = nullptr;
    if (encoding != kREALEncodingBytes && encoding != REALGetStringEncoding(string)) {
        converted = REALConvertString(string, encoding);
        if (!converted) return false;
        string = converted;
    }
    const char* const bytes = getCString(string);
    const int count = lenB(string);
    const std::size_t length = bytes && count > 0 ? static_cast<std::size_t>(count) : 0;
    char* const copy = static_cast<char*>(std::malloc(length + 4));
    if (copy) {
        if (length > 0) std::memcpy(copy, bytes, length);
        std::memset(copy + length, 0, 4);
        data->data = copy;
        data->length = static_cast<int>(length);
        data->encoding = encoding;
    }
    REALUnlockString(converted);
    return copy != nullptr;
}

REALboolean REALGetStringData(REALstring string, unsigned encoding, REALstringData* data) {
    static HostFunction<REALboolean, REALstring, unsigned, REALstringData*> call("PluginGetStringData");
    if (call.Find()) return call(string, encoding, data);
    return CopyStringData(string, encoding, data);
}

void REALDisposeStringData(REALstringData* data) {
    static HostFunction<void, REALstringData*> call("PluginDisposeStringData");
    if (call.Find()) {
        call(data);
    } else {
        std::free(data->data);
    }
}

// Builds a string in the first encoding and gives out its conversion to UTF-8.
static REALstring BuildAsUTF8(const void* bytes, int length, unsigned encoding) {
    const REALstring built = originalREALBuildString(bytes, length);
    if (!built) return nullptr;
    REALSetStringEncoding(built, encoding);
    const REALstring converted = REALConvertString(built, kREALEncodingUTF8);
    REALUnlockString(built);
    return converted;
}

// UTF-32 goes through UTF-16. Code points above 16 bits are cut: hosts of this interface know no surrogate pairs.
static REALstring BuildFromUTF32(const void* bytes, int length) {
    constexpr int kStackUnits = 200;
    const int units = length / 4;
    std::uint16_t onStack[kStackUnits] = {};
    std::uint16_t* text = onStack;
    if (units >= kStackUnits) {
        text = static_cast<std::uint16_t*>(std::calloc(static_cast<std::size_t>(units) * 2 + 4, 1));
        if (!text) return nullptr;
    }
    for (int i = 0; i < units; ++i) {
        std::uint32_t unit;
        std::memcpy(&unit, static_cast<const char*>(bytes) + static_cast<std::size_t>(i) * 4, 4);
        text[i] = static_cast<std::uint16_t>(unit);
    }
    const REALstring result = BuildAsUTF8(text, units * 2, kREALEncodingUTF16);
    if (text != onStack) std::free(text);
    return result;
}

REALstring REALBuildUnicodeString(const void* bytes, int length, unsigned encoding) {
    if (!bytes || length <= 0) return nullptr;
    if (encoding == kREALEncodingUTF16) return BuildAsUTF8(bytes, length, kREALEncodingUTF16);
    if (encoding == kREALEncodingUTF32) return BuildFromUTF32(bytes, length);
    const REALstring string = originalREALBuildString(bytes, length);
    if (string) REALSetStringEncoding(string, encoding);
    return string;
}

// --- memory blocks --------------------------------------------------------------------------------------------------

REALobject REALNewMemoryBlock(int size) {
    static HostFunction<REALobject, int> call("newMemoryBlock");
    return call(size);
}

void* REALMemoryBlockGetPtr(REALobject block) {
    static HostFunction<void*, REALobject> call("memoryBlockGetPtr");
    return call(block);
}

REALobject REALPtrToMemoryBlock(void* address) {
    static HostFunction<REALobject, void*> call("PtrToMemoryBlock");
    return call(address);
}

REALobject REALBuildMemoryblock(const void* bytes, int length) {
    if (!bytes || length < 1) return nullptr;
    const REALobject block = REALNewMemoryBlock(length);
    if (!block) return nullptr;
    void* const data = REALMemoryBlockGetPtr(block);
    if (!data) {
        REALUnlockObject(block);
        return nullptr;
    }
    std::memcpy(data, bytes, static_cast<std::size_t>(length));
    return block;
}

// --- folder items ---------------------------------------------------------------------------------------------------

REALboolean REALFSRefFromFolderItem(REALobject item, FSRef* ref, REALstring* name) {
    static HostFunction<REALboolean, REALobject, FSRef*, REALstring*> call("REALFSRefFromFolderItem");
    return call(item, ref, name);
}

REALboolean REALFSSpecFromFolderItem(FSSpec* spec, REALobject item) {
    static HostFunction<REALboolean, FSSpec*, REALobject> call("REALFSSpecFromFolderItem");
    return call(spec, item);
}

// --- pictures -------------------------------------------------------------------------------------------------------

REALobject REALNewPicture(int width, int height, int depth) {
    static HostFunction<REALobject, int, int, int> call("newPicture");
    return call(width, height, depth);
}

REALobject REALBuildPictureFromBuffer(int width, int height, int type, void* buffer, int rowBytes) {
    static HostFunction<REALobject, int, int, int, void*, int> call("REALBuildPictureFromBuffer");
    return call(width, height, type, buffer, rowBytes);
}

void REALLockPictureDescription(REALobject picture, REALpictureDescription* description) {
    static HostFunction<void, REALobject, REALpictureDescription*> call("lockPictureDescription");
    call(picture, description);
}

REALboolean REALLockPictureDescription(REALobject picture, REALpictureDescription* description, REALword kind) {
    static HostFunction<REALboolean, REALobject, REALpictureDescription*, REALword> call("REALLockPictureDescription");
    return call(picture, description, kind);
}

REALboolean REALLockPictureDescriptionX(REALobject picture, REALpictureDescription* description, REALword kind) {
    if (REALLockPictureDescription(picture, description, kind)) return true;
    // Old hosts leave the lock on when they refuse.
    if (rbversion_rbversion < 2012.0) REALUnlockPictureDescription(picture);
    return false;
}

void REALUnlockPictureDescription(REALobject picture) {
    static HostFunction<void, REALobject> call("unlockPictureDescription");
    call(picture);
}

void REALPictureClearCache(REALobject picture) {
    static HostFunction<void, REALobject> call("REALPictureClearCache");
    call(picture);
}

REALobject REALGetPictureGraphics(REALobject picture) {
    static HostFunction<REALobject, REALobject> call("pluginPictureGraphicsGetter");
    return call(picture);
}

REALobject REALGetPictureMask(REALobject picture, int create) {
    static HostFunction<REALobject, REALobject, int> call("REALGetPictureMask");
    return call(picture, create);
}

// --- application ----------------------------------------------------------------------------------------------------

void REALYieldToRB() {
    static HostFunction<void> call("REALYieldToRB");
    call();
}

void CheckApplication() {
    const bool hasDesktop = REALGetClassRef("Application") != nullptr;
    const bool hasWeb = REALGetClassRef("WebApplication") != nullptr;
    const bool hasConsole = REALGetClassRef("ConsoleApplication") != nullptr;
    if (hasDesktop) {
        IsDesktop = true;
    } else if (hasWeb || hasConsole) {
        IsConsole = true;
    }
}

}  // namespace zor

#include "Strings.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "Services.h"

namespace zorhost::runtime {

static REALstring NewString(Runtime& host, std::string_view text, unsigned encoding, std::string origin) {
    const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    StringEntry entry;
    entry.buffer.reserve(1 + text.size() + 4);  // strings may hold whole pictures: no byte is written twice
    entry.buffer.push_back(0);
    entry.buffer.insert(entry.buffer.end(), bytes, bytes + text.size());
    entry.buffer.insert(entry.buffer.end(), 4, 0);
    entry.record = std::make_unique<REALstringRecord>();
    entry.record->first = 1;
    entry.record->buffer = entry.buffer.data();
    entry.record->third = static_cast<REALword>(encoding);
    entry.record->length = static_cast<REALword>(text.size());
    entry.serial = NextSerial();
    entry.origin = std::move(origin);
    const REALstring string = reinterpret_cast<REALstring>(entry.record.get());
    host.strings.emplace(string, std::move(entry));
    return string;
}

REALstring NewString(Runtime& host, const String& text, std::string origin) {
    return NewString(host, text.bytes, text.encoding, std::move(origin));
}

StringEntry* FindString(Runtime& host, REALstring string) {
    const auto found = host.strings.find(string);
    return found == host.strings.end() ? nullptr : &found->second;
}

// The same for the plug-in, which is told when it hands over something that is no string.
static StringEntry* FindTold(Runtime& host, REALstring string) {
    StringEntry* const entry = string ? FindString(host, string) : nullptr;
    if (string && !entry) AddFault(host, "a string was used that is not alive, " + OriginInCall(host));
    return entry;
}

void LockString(Runtime& host, REALstring string) {
    if (StringEntry* const entry = FindTold(host, string)) ++entry->record->first;
}

void UnlockString(Runtime& host, REALstring string) {
    StringEntry* const entry = FindTold(host, string);
    if (entry && --entry->record->first == 0) host.strings.erase(string);
}

static unsigned EncodingOf(const StringEntry& entry) {
    return static_cast<unsigned>(entry.record->third);
}

String TextOf(const StringEntry& entry) {
    const char* const text = reinterpret_cast<const char*>(entry.record->buffer) + 1;
    return String{std::string(text, static_cast<std::size_t>(entry.record->length)), EncodingOf(entry)};
}

// Nothing where the encoding is unknown.
static std::optional<String> ConvertIfKnown(const StringEntry& entry, unsigned encoding) {
    try {
        return Convert(TextOf(entry), encoding);
    } catch (const Error&) {
        return std::nullopt;
    }
}

// --- services ------------------------------------------------------------------------------------------------------

static void REALLockString_Service(REALstring string) {
    if (Runtime* const host = Enter("REALLockString")) LockString(*host, string);
}

static void REALUnlockString_Service(REALstring string) {
    if (Runtime* const host = Enter("REALUnlockString")) UnlockString(*host, string);
}

static REALstring REALBuildString_Service(const void* bytes, int length) {
    Runtime* const host = Enter("REALBuildString");
    if (!host || length < 0 || (!bytes && length > 0)) return nullptr;
    const std::string_view text(static_cast<const char*>(bytes), static_cast<std::size_t>(length));
    return NewString(*host, text, kRawBytes, OriginInCall(*host));
}

static unsigned REALGetStringEncoding_Service(REALstring string) {
    Runtime* const host = Enter("REALGetStringEncoding");
    const StringEntry* const entry = host ? FindTold(*host, string) : nullptr;
    return entry ? EncodingOf(*entry) : static_cast<unsigned>(kRawBytes);
}

static void REALSetStringEncoding_Service(REALstring string, unsigned encoding) {
    Runtime* const host = Enter("REALSetStringEncoding");
    if (StringEntry* const entry = host ? FindTold(*host, string) : nullptr) {
        entry->record->third = static_cast<REALword>(encoding);
    }
}

static REALstring REALConvertString_Service(REALstring string, unsigned encoding) {
    Runtime* const host = Enter("REALConvertString");
    const StringEntry* const entry = host ? FindTold(*host, string) : nullptr;
    if (!entry) return nullptr;
    const std::optional<String> converted = ConvertIfKnown(*entry, encoding);
    return converted ? NewString(*host, *converted, OriginInCall(*host)) : nullptr;
}

static REALboolean PluginGetStringData_Service(REALstring string, unsigned encoding, REALstringData* data) {
    Runtime* const host = Enter("PluginGetStringData");
    const StringEntry* const entry = host ? FindTold(*host, string) : nullptr;
    if (!entry || !data) return 0;
    const std::optional<String> converted = ConvertIfKnown(*entry, encoding);
    if (!converted) return 0;
    const std::size_t length = converted->bytes.size();
    char* const copy = static_cast<char*>(std::calloc(length + 4, 1));
    if (!copy) return 0;
    std::memcpy(copy, converted->bytes.data(), length);
    *data = REALstringData{copy, static_cast<int>(length), encoding};
    return 1;
}

static void PluginDisposeStringData_Service(REALstringData* data) {
    if (!data) return;
    std::free(data->data);
    *data = REALstringData{};
}

static const char* StringGetCString_Service(REALstring string) {
    Runtime* const host = Enter("StringGetCString");
    const StringEntry* const entry = host ? FindTold(*host, string) : nullptr;
    return entry ? reinterpret_cast<const char*>(entry->record->buffer) + 1 : nullptr;
}

static int LenB_Service(REALstring string) {
    Runtime* const host = Enter("LenB");
    const StringEntry* const entry = host ? FindTold(*host, string) : nullptr;
    return entry ? static_cast<int>(entry->record->length) : 0;
}

// The functions of the host language that a plug-in may ask for by declaration.
static void* REALLoadGlobalMethod_Service(const char* declaration) {
    if (!Enter("REALLoadGlobalMethod") || !declaration) return nullptr;
    try {
        const Signature wanted = ParseDeclaration(declaration);
        const bool isLenB = SameName(wanted.name, "LenB") && wanted.parameters.size() == 1 &&
                            wanted.parameters[0].type.kind == Kind::String && wanted.result.kind == Kind::Integer;
        return isLenB ? reinterpret_cast<void*>(LenB_Service) : nullptr;
    } catch (const Error&) {
        return nullptr;
    }
}

std::span<const Service> StringServices() {
    static const Service services[] = {
        {"REALLockString", reinterpret_cast<void*>(REALLockString_Service)},
        {"REALUnlockString", reinterpret_cast<void*>(REALUnlockString_Service)},
        {"REALBuildString", reinterpret_cast<void*>(REALBuildString_Service)},
        {"REALGetStringEncoding", reinterpret_cast<void*>(REALGetStringEncoding_Service)},
        {"REALSetStringEncoding", reinterpret_cast<void*>(REALSetStringEncoding_Service)},
        {"REALConvertString", reinterpret_cast<void*>(REALConvertString_Service)},
        {"PluginGetStringData", reinterpret_cast<void*>(PluginGetStringData_Service)},
        {"PluginDisposeStringData", reinterpret_cast<void*>(PluginDisposeStringData_Service)},
        {"StringGetCString", reinterpret_cast<void*>(StringGetCString_Service)},
        {"REALLoadGlobalMethod", reinterpret_cast<void*>(REALLoadGlobalMethod_Service)},
    };
    return services;
}

}  // namespace zorhost::runtime

#include "support/FakeHost.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "core/RegisteredClasses.h"
#include "host/HostCalls.h"
#include "support/FakeText.h"

using namespace zor;

namespace {

FakeHost* current = nullptr;
FakeHost::Registration registration;
bool started = false;

constexpr std::size_t kGuard = 256;
constexpr std::uint8_t kGuardByte = 0xA7;

std::size_t RaisedTo16(std::size_t size) {
    return (size + 15) / 16 * 16;
}

}  // namespace

struct alignas(16) FakeHost::Object {
    std::uint8_t front[64] = {};  // see Front
    std::string className;
    long number = 0;
    int locks = 1;
    void* payload = nullptr;
    // memory block
    bool isBlock = false;
    std::uint8_t* address = nullptr;    // of blocks over foreign memory
    std::vector<std::uint8_t> guarded;  // guard, bytes, guard
    // folder item
    std::string path;
    FileForm form = FileForm::none;
    REALstring name = nullptr;
    // factory
    NewPictureEvent event;
    // exception
    FakeException exception;
};

struct FakeHost::String {
    REALstringRecord record{};
    int locks = 1;
    unsigned encoding = 0;
    std::vector<unsigned char> buffer;  // one byte, the text, four zero bytes
};

struct FakeHost::Array {
    std::vector<int> values;
};

// --- host functions -------------------------------------------------------------------------------------------------

struct FakeHost::Functions {
    static FakeHost& host() { return *current; }
    static REALobject Handle(Object* object) { return reinterpret_cast<REALobject>(object); }
    static REALstring Handle(String* string) { return reinterpret_cast<REALstring>(string); }

    static void RegisterPluginVersion(int version) { registration.pluginVersion = version; }
    static double REALGetRBVersion() { return host().version; }

    static void PluginRegisterClass(REALclassDefinition* definition) {
        definition->hostSlot = static_cast<REALword>(RaisedTo16(sizeof(Object)));
        for (REALword i = 0; i < definition->eventCount; ++i) definition->events[i].identifier = 7000 + i;
        registration.classNames.emplace_back(definition->name);
        registration.definitions[definition->name] = definition;
        registration.sizes[definition->name] = definition->instanceDataSize;
    }

    static void* pluginObjectType(const char* name) {
        host().Note("pluginObjectType", nullptr);
        host().Explain(name);
        static char classReference;
        return host().applicationClasses.contains(name) ? &classReference : nullptr;
    }

    static REALobject PluginNewInstance(const char* name) {
        FakeHost& h = host();
        h.Note("PluginNewInstance", nullptr);
        if ((h.failNewInstance > 0 && --h.failNewInstance == 0) || h.Refuses()) return nullptr;
        const auto size = registration.sizes.find(name);
        if (size != registration.sizes.end()) return Handle(h.Make(name, static_cast<std::size_t>(size->second)));
        return h.classes.contains(name) ? Handle(h.Make(name, 0)) : nullptr;
    }

    static void REALLockObject(REALobject object) {
        host().Note("REALLockObject", object);
        Object* const found = host().Find(object);
        if (found)
            ++found->locks;
        else
            ADD_FAILURE() << "REALLockObject on what is no living object";
    }

    static void REALUnlockObject(REALobject object) {
        host().Note("REALUnlockObject", object);
        Object* const found = host().Find(object);
        if (!found) {
            ADD_FAILURE() << "REALUnlockObject on what is no living object";
        } else if (--found->locks == 0) {
            host().Destroy(found);
        }
    }

    static void REALLockString(REALstring string) {
        host().Note("REALLockString", string);
        String* const found = host().FindString(string);
        if (found)
            ++found->locks;
        else
            ADD_FAILURE() << "REALLockString on what is no living string";
    }

    static void REALUnlockString(REALstring string) {
        host().Note("REALUnlockString", string);
        String* const found = host().FindString(string);
        if (!found) {
            ADD_FAILURE() << "REALUnlockString on what is no living string";
        } else if (--found->locks == 0) {
            host().strings_.erase(found);
            delete found;
        }
    }

    static REALobject EventFunction(REALobject factory, int width, int height, int format) {
        host().Note("NewPictureZOR", factory);
        Object* const found = host().Find(factory);
        return found && found->event ? found->event(width, height, format) : nullptr;
    }

    static void* GetEventInstance(REALobject object, REALword identifier) {
        host().Note("GetEventInstance", object);
        const Object* const found = host().Find(object);
        if (!found) ADD_FAILURE() << "GetEventInstance on what is no living object";
        if (identifier != ImageFactoryEvents[0].identifier) ADD_FAILURE() << "unknown event " << identifier;
        return found && found->event ? reinterpret_cast<void*>(&EventFunction) : nullptr;
    }

    static void RuntimeRaiseException(REALobject exception) {
        host().Note("RuntimeRaiseException", exception);
        host().raised_.push_back(exception);
    }

    static int RuntimeUBound(REALarray array) {
        host().Note("RuntimeUBound", array);
        if (!array) return -1;
        return static_cast<int>(reinterpret_cast<Array*>(array)->values.size()) - 1;
    }

    static int RuntimeDirectReadIntArray(REALarray array, int index) {
        host().Note("RuntimeDirectReadIntArray", array);
        const std::vector<int>& values = reinterpret_cast<Array*>(array)->values;
        if (index < 0 || static_cast<std::size_t>(index) >= values.size()) {
            ADD_FAILURE() << "RuntimeDirectReadIntArray reads element " << index << " of " << values.size();
            return 0;
        }
        return values[static_cast<std::size_t>(index)];
    }

    static void REALYieldToRB() {
        host().Note("REALYieldToRB", nullptr);
        if (host().onYield) host().onYield();
    }

    static REALboolean REALGetPropValueInt(REALobject object, const char* name, int* value) {
        host().Note("REALGetPropValueInt", object);
        host().Explain(name);
        if (host().pictures.property && host().pictures.property(object, name, value)) return true;
        const auto found = host().intProperties.find(name);
        if (found == host().intProperties.end()) return false;
        *value = found->second;
        return true;
    }

    static REALboolean REALSetPropValueString(REALobject object, const char* name, REALstring value) {
        host().Note("REALSetPropValueString", object);
        Object* const found = host().Find(object);
        if (!found || std::strcmp(name, "Message") != 0) return false;
        found->exception.hasMessage = true;
        found->exception.message = value ? host().Bytes(value) : "";
        found->exception.encoding = value ? host().Encoding(value) : 0;
        return true;
    }

    static REALstring REALBuildString(const void* bytes, int length) {
        host().Note("REALBuildString", nullptr);
        if (host().failBuildString || host().Refuses()) return nullptr;
        return host().NewString(std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(length)), 0);
    }

    static unsigned REALGetStringEncoding(REALstring string) {
        host().Note("REALGetStringEncoding", string);
        return string ? host().Encoding(string) : 0;
    }

    static void REALSetStringEncoding(REALstring string, unsigned encoding) {
        host().Note("REALSetStringEncoding", string);
        if (String* const found = host().FindString(string)) found->encoding = encoding;
    }

    static REALstring REALConvertString(REALstring string, unsigned encoding) {
        host().Note("REALConvertString", string);
        if (host().failConvertString || !string || host().Refuses()) return nullptr;
        return host().NewString(ConvertText(host().Bytes(string), host().Encoding(string), encoding), encoding);
    }

    static REALboolean PluginGetStringData(REALstring string, unsigned encoding, REALstringData* data) {
        host().Note("PluginGetStringData", string);
        if (host().failStringData || !string || host().Refuses()) return false;
        std::string bytes = host().Bytes(string);
        if (encoding != kREALEncodingBytes) bytes = ConvertText(bytes, host().Encoding(string), encoding);
        data->data = std::calloc(bytes.size() + 4, 1);
        if (!data->data) return false;
        std::memcpy(data->data, bytes.data(), bytes.size());
        data->length = static_cast<int>(bytes.size());
        data->encoding = encoding;
        return true;
    }

    static void PluginDisposeStringData(REALstringData* data) {
        host().Note("PluginDisposeStringData", nullptr);
        std::free(data->data);
        *data = {};
    }

    static REALobject newMemoryBlock(int size) {
        host().Note("newMemoryBlock", nullptr);
        if (host().failNewMemoryBlock || size < 0 || host().Refuses()) return nullptr;
        return host().newBlocksHaveData ? host().NewBlock(static_cast<std::size_t>(size))
                                        : host().NewBlockWithoutData();
    }

    static void* memoryBlockGetPtr(REALobject block) {
        host().Note("memoryBlockGetPtr", block);
        return host().Find(block) ? host().BlockData(block) : nullptr;
    }

    static REALobject PtrToMemoryBlock(void* address) {
        host().Note("PtrToMemoryBlock", address);
        Object* const block = host().Make("MemoryBlock", 0);
        block->isBlock = true;
        block->address = static_cast<std::uint8_t*>(address);
        return Handle(block);
    }

    static REALboolean REALFSRefFromFolderItem(REALobject item, FSRef* ref, REALstring* name) {
        host().Note(name ? "REALFSRefFromFolderItem with a name" : "REALFSRefFromFolderItem", item);
        const Object* const found = host().Find(item);
        if (!found || host().Refuses()) return false;
        std::string path = found->path;
        if (!name && found->form != FileForm::reference) return false;
        if (name) {
            if (found->form != FileForm::folderAndName) return false;
            path = path.substr(0, path.rfind('/'));
            if (path.empty()) path = "/";
            *name = found->name;
        }
        path.copy(ref->path, sizeof ref->path);
        return true;
    }

    static REALboolean REALFSSpecFromFolderItem(FSSpec* spec, REALobject item) {
        host().Note("REALFSSpecFromFolderItem", item);
        const Object* const found = host().Find(item);
        if (!found || found->form != FileForm::spec) return false;
        found->path.copy(spec->path, sizeof spec->path);
        return true;
    }

    static REALobject newPicture(int width, int height, int depth) {
        host().Note("newPicture", nullptr);
        if (host().Refuses()) return nullptr;
        return host().pictures.newPicture ? host().pictures.newPicture(width, height, depth) : nullptr;
    }
    static REALobject REALBuildPictureFromBuffer(int width, int height, int type, void* buffer, int rowBytes) {
        host().Note("REALBuildPictureFromBuffer", nullptr);
        if (host().Refuses()) return nullptr;
        const auto& hook = host().pictures.buildFromBuffer;
        return hook ? hook(width, height, type, buffer, rowBytes) : nullptr;
    }
    static void lockPictureDescription(REALobject picture, REALpictureDescription* description) {
        host().Note("lockPictureDescription", picture);
        if (host().pictures.lock) host().pictures.lock(picture, description);
    }
    static REALboolean REALLockPictureDescription(REALobject picture, REALpictureDescription* description,
                                                  REALword kind) {
        host().Note("REALLockPictureDescription", picture);
        return host().pictures.lockKind && host().pictures.lockKind(picture, description, kind);
    }
    static void unlockPictureDescription(REALobject picture) {
        host().Note("unlockPictureDescription", picture);
        if (host().pictures.unlock) host().pictures.unlock(picture);
    }
    static void REALPictureClearCache(REALobject picture) {
        host().Note("REALPictureClearCache", picture);
        if (host().pictures.clearCache) host().pictures.clearCache(picture);
    }
    static REALobject pluginPictureGraphicsGetter(REALobject picture) {
        host().Note("pluginPictureGraphicsGetter", picture);
        if (host().Refuses()) return nullptr;
        return host().pictures.graphics ? host().pictures.graphics(picture) : nullptr;
    }
    static REALobject REALGetPictureMask(REALobject picture, int create) {
        host().Note("REALGetPictureMask", picture);
        if (host().Refuses()) return nullptr;
        return host().pictures.mask ? host().pictures.mask(picture, create) : nullptr;
    }
    static void* REALLoadObjectMethod(REALobject object, const char* declaration) {
        host().Note("REALLoadObjectMethod", object);
        if (host().Refuses()) return nullptr;
        if (host().pictures.method) {
            if (void* const method = host().pictures.method(object, declaration)) return method;
        }
        const auto found = host().objectMethods.find(declaration);
        return found == host().objectMethods.end() ? nullptr : found->second;
    }

    static int LenB(REALstring string) { return static_cast<int>(host().Bytes(string).size()); }
    static void* REALLoadGlobalMethod(const char* declaration) {
        host().Note("REALLoadGlobalMethod", nullptr);
        if (host().removed_.contains("LenB")) return nullptr;
        return std::strcmp(declaration, "LenB( s as string ) as integer") == 0 ? reinterpret_cast<void*>(&LenB)
                                                                               : nullptr;
    }
    static const char* StringGetCString(REALstring string) {
        host().Note("StringGetCString", string);
        return reinterpret_cast<const char*>(host().FindString(string)->buffer.data() + 1);
    }

    static const std::map<std::string, void*>& Table();
};

const std::map<std::string, void*>& FakeHost::Functions::Table() {
#define FUNCTION(name) \
    { #name, reinterpret_cast < void*>(&name) }
    static const std::map<std::string, void*> table = {
        FUNCTION(RegisterPluginVersion),
        FUNCTION(REALGetRBVersion),
        FUNCTION(PluginRegisterClass),
        FUNCTION(pluginObjectType),
        FUNCTION(PluginNewInstance),
        FUNCTION(REALLockObject),
        FUNCTION(REALUnlockObject),
        FUNCTION(REALLockString),
        FUNCTION(REALUnlockString),
        FUNCTION(GetEventInstance),
        FUNCTION(RuntimeRaiseException),
        FUNCTION(RuntimeUBound),
        FUNCTION(RuntimeDirectReadIntArray),
        FUNCTION(REALYieldToRB),
        FUNCTION(REALGetPropValueInt),
        FUNCTION(REALSetPropValueString),
        FUNCTION(REALBuildString),
        FUNCTION(REALGetStringEncoding),
        FUNCTION(REALSetStringEncoding),
        FUNCTION(REALConvertString),
        FUNCTION(PluginGetStringData),
        FUNCTION(PluginDisposeStringData),
        FUNCTION(newMemoryBlock),
        FUNCTION(memoryBlockGetPtr),
        FUNCTION(PtrToMemoryBlock),
        FUNCTION(REALFSRefFromFolderItem),
        FUNCTION(REALFSSpecFromFolderItem),
        FUNCTION(newPicture),
        FUNCTION(REALBuildPictureFromBuffer),
        FUNCTION(lockPictureDescription),
        FUNCTION(REALLockPictureDescription),
        FUNCTION(unlockPictureDescription),
        FUNCTION(REALPictureClearCache),
        FUNCTION(pluginPictureGraphicsGetter),
        FUNCTION(REALGetPictureMask),
        FUNCTION(REALLoadObjectMethod),
        FUNCTION(REALLoadGlobalMethod),
        FUNCTION(StringGetCString),
    };
#undef FUNCTION
    return table;
}

void* FakeHost::Resolve(const char* name) {
    if (!current) return nullptr;
    registration.lookUps.emplace_back(name);
    if (current->removed_.contains(name)) return nullptr;
    const auto found = Functions::Table().find(name);
    return found == Functions::Table().end() ? nullptr : found->second;
}

// --- the host -------------------------------------------------------------------------------------------------------

FakeHost::FakeHost(std::set<std::string> missing, double toldVersion)
    : version(toldVersion),
      classes{"OutOfMemoryException", "NilObjectException", "OutOfBoundsException", "UnsupportedOperationException"},
      removed_(std::move(missing)) {
    EXPECT_EQ(current, nullptr) << "one host at a time";
    current = this;
    IsConsole = false;
    IsDesktop = false;
    if (!started) {
        started = true;
        REALPluginMain(&FakeHost::Resolve);
    }
    gResolver = &FakeHost::Resolve;
    if (!removed_.contains("REALGetRBVersion")) rbversion_rbversion = version;
}

FakeHost::~FakeHost() {
    current = nullptr;
    // What a test left is freed without the engine, which may be in any state.
    for (const auto& [address, object] : objects_) {
        object->~Object();
        ::operator delete(object, std::align_val_t(16));
    }
    for (const auto& [address, string] : strings_) delete string;
    for (Array* array : arrays_) delete array;
}

FakeHost& FakeHost::Current() {
    return *current;
}

const FakeHost::Registration& FakeHost::Started() {
    return registration;
}

void FakeHost::SetVersion(double newVersion) {
    version = newVersion;
    rbversion_rbversion = newVersion;
}

FakeHost::Object* FakeHost::Make(const std::string& className, std::size_t dataSize) {
    const std::size_t header = RaisedTo16(sizeof(Object));
    void* const memory = ::operator new(header + dataSize, std::align_val_t(16));
    std::memset(memory, 0, header + dataSize);
    Object* const object = new (memory) Object;
    object->className = className;
    object->number = nextNumber_++;
    object->exception.className = className;
    objects_[object] = object;
    return object;
}

FakeHost::Object* FakeHost::Find(const void* object) const {
    const auto found = objects_.find(object);
    return found == objects_.end() ? nullptr : found->second;
}

FakeHost::String* FakeHost::FindString(const void* string) const {
    const auto found = strings_.find(string);
    return found == strings_.end() ? nullptr : found->second;
}

void FakeHost::CheckGuards(const Object* object) const {
    const std::vector<std::uint8_t>& bytes = object->guarded;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool isGuard = i < kGuard || i >= bytes.size() - kGuard;
        if (isGuard && bytes[i] != kGuardByte) {
            ADD_FAILURE() << "memory block of " << bytes.size() - 2 * kGuard << " bytes: the byte at "
                          << static_cast<std::ptrdiff_t>(i) - static_cast<std::ptrdiff_t>(kGuard) << " was written";
            return;
        }
    }
}

void FakeHost::Destroy(Object* object) {
    const auto found = registration.definitions.find(object->className);
    if (found != registration.definitions.end() && found->second->destructor) {
        const REALobject handle = reinterpret_cast<REALobject>(object);
        const ImageClassData* const record =
            reinterpret_cast<const ImageClassData*>(reinterpret_cast<const char*>(object) + found->second->hostSlot);
        std::optional<ParkedDescriptorZero> parked;
        if (parkDescriptorZero && !record->GetRow && record->OwnsFile && record->IsMapping) parked.emplace();
        object->locks = 1;  // alive while its destructor runs
        reinterpret_cast<void (*)(REALobject)>(found->second->destructor)(handle);
    }
    CheckGuards(object);
    if (pictures.destroyed) pictures.destroyed(reinterpret_cast<REALobject>(object));
    objects_.erase(object);
    const REALstring name = object->name;
    object->~Object();
    ::operator delete(object, std::align_val_t(16));
    if (name) {
        delete FindString(name);
        strings_.erase(name);
    }
}

void FakeHost::Retain(REALobject object) {
    ++Find(object)->locks;
}

void FakeHost::Release(REALobject object) {
    Object* const found = Find(object);
    if (--found->locks == 0) Destroy(found);
}

REALobject FakeHost::NewImage() {
    return Functions::Handle(Make("PictureZOR", static_cast<std::size_t>(registration.sizes.at("PictureZOR"))));
}

REALobject FakeHost::NewObject(const std::string& className) {
    return Functions::Handle(Make(className, 0));
}

REALobject FakeHost::NewBlock(std::size_t size) {
    Object* const block = Make("MemoryBlock", 0);
    block->isBlock = true;
    block->guarded.assign(size + 2 * kGuard, kGuardByte);
    std::memset(block->guarded.data() + kGuard, 0, size);
    return Functions::Handle(block);
}

REALobject FakeHost::NewBlockWithoutData() {
    Object* const block = Make("MemoryBlock", 0);
    block->isBlock = true;
    return Functions::Handle(block);
}

REALobject FakeHost::NewFolderItem(const std::string& path, FileForm form) {
    Object* const item = Make("FolderItem", 0);
    item->path = path;
    item->form = form;
    if (form == FileForm::folderAndName) item->name = NewString(path.substr(path.rfind('/') + 1), kREALEncodingUTF8);
    return Functions::Handle(item);
}

REALobject FakeHost::NewFactory(NewPictureEvent event) {
    Object* const factory = Make("PictureFactoryZOR", 0);
    factory->event = std::move(event);
    return Functions::Handle(factory);
}

REALstring FakeHost::NewString(const std::string& bytes, unsigned encoding) {
    String* const string = new String;
    string->encoding = encoding;
    string->buffer.assign(1, 0x5E);  // not text
    string->buffer.insert(string->buffer.end(), bytes.begin(), bytes.end());
    string->buffer.insert(string->buffer.end(), 4, 0);
    string->record.buffer = string->buffer.data();
    string->record.length = static_cast<REALword>(bytes.size());
    strings_[string] = string;
    return Functions::Handle(string);
}

REALarray FakeHost::NewArray(std::vector<int> values) {
    arrays_.push_back(new Array{std::move(values)});
    return reinterpret_cast<REALarray>(arrays_.back());
}

int FakeHost::Locks(const void* objectOrString) const {
    if (const Object* const object = Find(objectOrString)) return object->locks;
    if (const String* const string = FindString(objectOrString)) return string->locks;
    return 0;
}

std::string FakeHost::ClassOf(REALobject object) const {
    const Object* const found = Find(object);
    return found ? found->className : "";
}

std::uint8_t* FakeHost::BlockData(REALobject block) {
    Object* const found = Find(block);
    if (found->address) return found->address;
    return found->guarded.empty() ? nullptr : found->guarded.data() + kGuard;
}

std::size_t FakeHost::BlockSize(REALobject block) const {
    const Object* const found = Find(block);
    return found->guarded.empty() ? 0 : found->guarded.size() - 2 * kGuard;
}

std::string FakeHost::Bytes(REALstring string) const {
    const String* const found = FindString(string);
    return found ? std::string(found->buffer.begin() + 1, found->buffer.end() - 4) : "";
}

unsigned FakeHost::Encoding(REALstring string) const {
    const String* const found = FindString(string);
    return found ? found->encoding : 0;
}

void* FakeHost::Payload(REALobject object) const {
    const Object* const found = Find(object);
    return found ? found->payload : nullptr;
}

void FakeHost::SetPayload(REALobject object, void* payload) {
    Find(object)->payload = payload;
}

std::size_t FakeHost::LiveObjects() const {
    return objects_.size();
}

std::size_t FakeHost::LiveStrings() const {
    return strings_.size();
}

std::string FakeHost::WhatIsLeft() const {
    std::string text;
    for (const auto& [address, object] : objects_) {
        text += object->className + " no. " + std::to_string(object->number) + " with " +
                std::to_string(object->locks) + " lock(s)";
        if (!object->exception.message.empty()) text += " \"" + object->exception.message + "\"";
        text += "\n";
    }
    for (const auto& [address, string] : strings_) {
        text += "string \"" + std::string(string->buffer.begin() + 1, string->buffer.end() - 4) + "\" with " +
                std::to_string(string->locks) + " lock(s)\n";
    }
    return text;
}

void FakeHost::Note(const char* function, const void* subject) {
    if (!keepLog) return;
    log_.push_back({function, subject, pictures.name ? pictures.name(subject) : "", ""});
    ++counts_[function];
}

void FakeHost::Explain(const std::string& details) {
    if (!keepLog) return;
    std::string& text = log_.back().details;
    text += (text.empty() ? "" : ", ") + details;
}

int FakeHost::Count(const std::string& function) const {
    const auto found = counts_.find(function);
    return found == counts_.end() ? 0 : found->second;
}

void FakeHost::ClearLog() {
    log_.clear();
    counts_.clear();
}

std::optional<FakeException> FakeHost::TakeException() {
    if (raised_.empty()) return std::nullopt;
    const REALobject object = raised_.front();
    raised_.erase(raised_.begin());
    Object* const found = Find(object);
    const FakeException exception = found->exception;
    if (--found->locks == 0) Destroy(found);
    return exception;
}

ParkedDescriptorZero::ParkedDescriptorZero() : parked_(dup(0)) {
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, 0);
    if (nothing > 0) close(nothing);
}

ParkedDescriptorZero::~ParkedDescriptorZero() {
    if (parked_ < 0) return;
    dup2(parked_, 0);
    close(parked_);
}

// --- fixtures -------------------------------------------------------------------------------------------------------

void EngineTest::TearDown() {
    while (const std::optional<FakeException> exception = host.TakeException()) {
        ADD_FAILURE() << "raised and not taken: " << exception->className << " \"" << exception->message << "\"";
    }
    if (!leftoversAllowed) {
        EXPECT_EQ(host.WhatIsLeft(), "");
    }
}

void InFreshProcess(const std::function<void()>& body) {
    // An emulated program cannot start itself anew. A copy of it serves where every case runs by itself, as with ctest.
    GTEST_FLAG_SET(death_test_style, kEmulated ? "fast" : "threadsafe");
    const auto runAndExit = [&body] {
        body();
        std::fflush(nullptr);  // what the test reported
        std::_Exit(::testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(runAndExit(), ::testing::ExitedWithCode(0), "");
}

#include "zorhost/Host.h"

#include <algorithm>

#include "Classes.h"
#include "DescriptorZero.h"
#include "Events.h"
#include "HostClasses.h"
#include "Members.h"
#include "Objects.h"
#include "Plugins.h"
#include "QuickDraw.h"

namespace zorhost {

using namespace runtime;

static Host* gHost = nullptr;

Host::Host(HostOptions options) {
    if (gRuntime) throw Error("a process has one host at a time, and there is one already");
    FillDescriptorZero();
    auto host = std::make_unique<Runtime>();
    host->options = std::move(options);
    host->thread = std::this_thread::get_id();
    gRuntime = host.get();
    try {
        OfferQuickDraw();
        AddHostClasses(*host);
        StartPlugin(*host);
    } catch (...) {
        gRuntime = nullptr;
        throw;
    }
    host.release();
    gHost = this;
}

Host::~Host() {
    const std::unique_ptr<Runtime> host(gRuntime);
    TearDownAll(*host);
    host->retiredClosures.clear();
    gRuntime = nullptr;
    gHost = nullptr;
}

Host* Host::Current() {
    return gHost;
}

// A class of the plug-in or the host that the application may use.
static const Class& NeedAvailableClass(const Runtime& host, std::string_view name) {
    const Class& type = NeedClass(host, name);
    if (type.definition && !type.about.available) {
        throw Error("the class " + type.name + " is not available in " + WorldName(host.options.world));
    }
    return type;
}

Object Host::NewWith(Name className, std::span<const Value> args) {
    Runtime& host = Running();
    const Class& type = NeedAvailableClass(host, className.text);
    const std::string label = type.name + ".Constructor";
    std::deque<Method>* const constructors = MethodsNamed(type, "Constructor");
    const bool anyWithoutArguments =
        constructors && std::ranges::any_of(*constructors, [](const Method& method) {
            return SameName(method.about.signature.name, "Constructor") && method.about.signature.parameters.empty();
        });
    if (!constructors && !args.empty()) throw Error(type.name + " has no constructor");
    Method* constructor = nullptr;
    if (!args.empty() || anyWithoutArguments) {
        constructor = &ChooseMethod(host, *constructors, label, "Constructor", args, nullptr);
    }
    const std::string where = OriginAt(className.where);
    Object object = Object::TakeOver(NewObject(host, type, where));
    if (constructor) RunMethod(host, type, *constructor, object.Handle(), label + " " + where, args, nullptr);
    return object;
}

Value Host::CallSharedWith(Name className, std::string_view method, std::span<const Value> args) {
    Runtime& host = Running();
    const Class& type = NeedAvailableClass(host, className.text);
    const std::string label = type.name + "." + std::string(method);
    auto& methods = const_cast<std::deque<Method>&>(type.sharedMethods);
    Method& chosen = ChooseMethod(host, methods, label, method, args, nullptr);
    return RunMethod(host, type, chosen, nullptr, label + " " + OriginAt(className.where), args, nullptr);
}

const Value& Host::Constant(std::string_view className, std::string_view name) const {
    const Class& type = NeedClass(Running(), className);
    for (const ConstantDescription& constant : type.about.constants) {
        if (SameName(constant.name, name)) return constant.value;
    }
    throw Error(type.name + " has no constant \"" + std::string(name) + "\"");
}

const std::vector<ClassDescription>& Host::Classes() const {
    return Running().descriptions;
}

const ClassDescription& Host::Describe(std::string_view className) const {
    for (const ClassDescription& description : Running().descriptions) {
        if (SameName(description.name, className)) return description;
    }
    throw Error("the plug-in has no class \"" + std::string(className) + "\"");
}

Object Host::MakeMemoryBlock(std::int64_t size, Place where) {
    Runtime& host = Running();
    if (size < 0) throw Error("a memory block cannot have " + std::to_string(size) + " bytes");
    const REALobject block = NewMemoryBlock(host, size, OriginAt(where));
    if (!block) throw Error("no memory for a block of " + std::to_string(size) + " bytes");
    return Object::TakeOver(block);
}

Object Host::MakeMemoryBlock(std::span<const unsigned char> bytes, Place where) {
    Object block = MakeMemoryBlock(static_cast<std::int64_t>(bytes.size()), where);
    std::ranges::copy(bytes, MemoryBlockBytes(block).data);
    return block;
}

Object Host::MakeMemoryBlockOver(void* address, Place where) {
    return Object::TakeOver(NewMemoryBlockOver(Running(), address, OriginAt(where)));
}

BlockBytes Host::MemoryBlockBytes(const Object& block) const {
    const MemoryBlockData* const data = NativeOf<MemoryBlockData>(Running(), block.Handle());
    if (!data) throw Error("found " + Value(block).TypeName() + " where a MemoryBlock is wanted");
    return {data->data, data->size};
}

Object Host::MakeFolderItem(const std::filesystem::path& path, Place where) {
    Runtime& host = Running();
    if (path.empty()) throw Error("a folder item needs a path");
    Object item = Object::TakeOver(NewObject(host, NeedClass(host, "FolderItem"), OriginAt(where)));
    NativeOf<FolderItemData>(host, item.Handle())->path = std::filesystem::absolute(path);
    return item;
}

Object Host::MakeEventHandler(Name className, std::string_view event, EventFunction function) {
    Runtime& host = Running();
    const Class& type = NeedAvailableClass(host, className.text);
    for (const Class* level = &type; level; level = level->super) {
        for (const Event& known : level->events) {
            if (!SameName(known.about.signature.name, event)) continue;
            auto handlers = std::make_unique<HandlerData>();
            handlers->events[known.identifier] = MakeEventClosure(type, known, std::move(function));
            Object object = Object::TakeOver(NewObject(host, type, OriginAt(className.where)));
            FindObject(host, object.Handle())->native = std::move(handlers);
            return object;
        }
    }
    throw Error(type.name + " has no event \"" + std::string(event) + "\"");
}

Object Host::MakeFactory(FactoryFunction function, Place where) {
    auto event = [function = std::move(function)](std::span<const Value> args) -> Value {
        return function(args[0].AsInt(), args[1].AsInt(), args[2].AsInt());
    };
    return MakeEventHandler(Name("PictureFactoryZOR", where), "NewPictureZOR", std::move(event));
}

void Host::SetYield(std::function<void()> callback) {
    Running().options.onYield = std::move(callback);
}

std::vector<LiveObject> Host::LiveObjects() const {
    const Runtime& host = Running();
    std::vector<const ObjectRecord*> records;
    for (const auto& [object, record] : host.objects) records.push_back(&record);
    std::ranges::sort(records, {}, &ObjectRecord::serial);
    std::vector<LiveObject> live;
    for (const ObjectRecord* record : records) live.push_back({record->type->name, record->locks, record->origin});
    return live;
}

static std::string LeakLine(const std::string& what, std::int64_t locks, const std::string& origin) {
    return what + ", " + std::to_string(locks) + (locks == 1 ? " lock" : " locks") + ", made " + origin + "\n";
}

std::string Host::LeakReport() const {
    std::string report;
    for (const LiveObject& object : LiveObjects()) report += LeakLine(object.className, object.locks, object.origin);
    std::vector<const StringEntry*> strings;
    for (const auto& [string, entry] : Running().strings) strings.push_back(&entry);
    std::ranges::sort(strings, {}, &StringEntry::serial);
    for (const StringEntry* entry : strings) {
        const std::string what = "String of " + std::to_string(entry->record->length) + " bytes";
        report += LeakLine(what, entry->record->first, entry->origin);
    }
    for (const GWorld* gworld : OwnerlessGWorlds(Running())) {
        const std::string what = "GWorld of " + std::to_string(gworld->width) + " x " + std::to_string(gworld->height) +
                                 " pixels and " + std::to_string(gworld->depth) + " bits";
        report += LeakLine(what, gworld->pixelLocks, gworld->origin);
    }
    return report;
}

std::vector<std::string> Host::Faults() const {
    const Runtime& host = Running();
    const std::lock_guard lock(host.faultMutex);
    return host.faults;
}

World Host::ApplicationWorld() const {
    return Running().options.world;
}
double Host::Version() const {
    return Running().options.version;
}
int Host::PluginVersion() const {
    return Running().pluginVersion;
}

}  // namespace zorhost

#include "Services.h"

#include <algorithm>
#include <initializer_list>

#include "Classes.h"
#include "Events.h"
#include "HostClasses.h"
#include "Members.h"
#include "Objects.h"
#include "Plugins.h"
#include "Strings.h"

namespace zorhost::runtime {

// --- application ---------------------------------------------------------------------------------------------------

static void RegisterPluginVersion_Service(int version) {
    if (Runtime* const host = Enter("RegisterPluginVersion")) host->pluginVersion = version;
}

static double REALGetRBVersion_Service() {
    const Runtime* const host = Enter("REALGetRBVersion");
    return host ? host->options.version : 0;
}

static void REALYieldToRB_Service() {
    Runtime* const host = Enter("REALYieldToRB");
    if (!host || !host->options.onYield) return;
    const std::function<void()> callback = host->options.onYield;  // it may set another one
    callback();
}

static void RuntimeRaiseException_Service(REALobject exception) {
    Runtime* const host = Enter("RuntimeRaiseException");
    if (!host) return;
    if (!FindObject(*host, exception) || host->frames.empty()) {
        AddFault(*host, "an exception was raised that is no object, or outside any call");
        return;
    }
    auto& raised = host->frames.back()->raised;
    if (std::ranges::find(raised, exception) == raised.end()) raised.push_back(exception);
}

std::span<const Service> ApplicationServices() {
    static const Service services[] = {
        {"RegisterPluginVersion", reinterpret_cast<void*>(RegisterPluginVersion_Service)},
        {"REALGetRBVersion", reinterpret_cast<void*>(REALGetRBVersion_Service)},
        {"REALYieldToRB", reinterpret_cast<void*>(REALYieldToRB_Service)},
        {"RuntimeRaiseException", reinterpret_cast<void*>(RuntimeRaiseException_Service)},
    };
    return services;
}

// --- classes and objects -------------------------------------------------------------------------------------------

static void PluginRegisterClass_Service(REALclassDefinition* definition) {
    if (Runtime* const host = Enter("PluginRegisterClass")) RegisterFromPlugin(*host, definition);
}

static void* pluginObjectType_Service(const char* name) {
    const Runtime* const host = Enter("pluginObjectType");
    if (!host || !name) return nullptr;
    return const_cast<Class*>(FindClass(*host, name));
}

static REALobject PluginNewInstance_Service(const char* name) {
    Runtime* const host = Enter("PluginNewInstance");
    const Class* const type = host && name ? FindClass(*host, name) : nullptr;
    return type ? NewObject(*host, *type, OriginInCall(*host)) : nullptr;
}

static void REALLockObject_Service(REALobject object) {
    if (Runtime* const host = Enter("REALLockObject")) LockObject(*host, object);
}

static void REALUnlockObject_Service(REALobject object) {
    if (Runtime* const host = Enter("REALUnlockObject")) UnlockObject(*host, object);
}

static void* GetEventInstance_Service(REALobject object, REALword identifier) {
    Runtime* const host = Enter("GetEventInstance");
    if (!host || !object) return nullptr;
    if (!FindObject(*host, object)) AddFault(*host, "an event was looked up on an object that is not alive");
    const HandlerData* const handlers = NativeOf<HandlerData>(*host, object);
    if (!handlers) return nullptr;
    const auto found = handlers->events.find(identifier);
    return found == handlers->events.end() ? nullptr : found->second->code;
}

static REALboolean REALGetPropValueInt_Service(REALobject object, const char* name, int* value) {
    Runtime* const host = Enter("REALGetPropValueInt");
    if (!host || !name || !value || !FindObject(*host, object)) return 0;
    try {
        *value = GetProperty(*host, object, name, std::string("reading ") + name).AsInt();
        return 1;
    } catch (const Error&) {
        return 0;
    }
}

static REALboolean REALSetPropValueString_Service(REALobject object, const char* name, REALstring text) {
    Runtime* const host = Enter("REALSetPropValueString");
    if (!host || !name || !FindObject(*host, object)) return 0;
    const StringEntry* const entry = FindString(*host, text);
    try {
        SetProperty(*host, object, name, entry ? Value(TextOf(*entry)) : Value(), std::string("setting ") + name);
        return 1;
    } catch (const Error&) {
        return 0;
    }
}

static bool SameParameters(const Signature& a, const Signature& b) {
    return std::ranges::equal(a.parameters, b.parameters, [](const Parameter& x, const Parameter& y) {
        return x.type.kind == y.type.kind && SameName(x.type.className, y.type.className);
    });
}

static void* REALLoadObjectMethod_Service(REALobject object, const char* declaration) {
    Runtime* const host = Enter("REALLoadObjectMethod");
    const ObjectRecord* const record = host && declaration ? FindObject(*host, object) : nullptr;
    if (!record) return nullptr;
    try {
        const Signature wanted = ParseDeclaration(declaration);
        const auto* const methods = MethodsNamed(*record->type, wanted.name);
        if (!methods) return nullptr;
        for (const Method& method : *methods) {
            if (!SameName(method.about.signature.name, wanted.name)) continue;
            if (SameParameters(method.about.signature, wanted)) return reinterpret_cast<void*>(method.function);
        }
        return nullptr;
    } catch (const Error&) {
        return nullptr;
    }
}

std::span<const Service> ObjectServices() {
    static const Service services[] = {
        {"PluginRegisterClass", reinterpret_cast<void*>(PluginRegisterClass_Service)},
        {"pluginObjectType", reinterpret_cast<void*>(pluginObjectType_Service)},
        {"PluginNewInstance", reinterpret_cast<void*>(PluginNewInstance_Service)},
        {"REALLockObject", reinterpret_cast<void*>(REALLockObject_Service)},
        {"REALUnlockObject", reinterpret_cast<void*>(REALUnlockObject_Service)},
        {"GetEventInstance", reinterpret_cast<void*>(GetEventInstance_Service)},
        {"REALGetPropValueInt", reinterpret_cast<void*>(REALGetPropValueInt_Service)},
        {"REALSetPropValueString", reinterpret_cast<void*>(REALSetPropValueString_Service)},
        {"REALLoadObjectMethod", reinterpret_cast<void*>(REALLoadObjectMethod_Service)},
    };
    return services;
}

// --- memory blocks and arrays --------------------------------------------------------------------------------------

static REALobject newMemoryBlock_Service(int size) {
    Runtime* const host = Enter("newMemoryBlock");
    return host && size >= 0 ? NewMemoryBlock(*host, size, OriginInCall(*host)) : nullptr;
}

static void* memoryBlockGetPtr_Service(REALobject block) {
    Runtime* const host = Enter("memoryBlockGetPtr");
    const MemoryBlockData* const data = host ? NativeOf<MemoryBlockData>(*host, block) : nullptr;
    return data ? data->data : nullptr;
}

static REALobject PtrToMemoryBlock_Service(void* address) {
    Runtime* const host = Enter("PtrToMemoryBlock");
    return host ? NewMemoryBlockOver(*host, address, OriginInCall(*host)) : nullptr;
}

static const std::vector<std::int32_t>* FindArray(const Runtime* host, REALarray array) {
    if (!host) return nullptr;
    const auto found = host->arrays.find(array);
    return found == host->arrays.end() ? nullptr : found->second.elements;
}

static int RuntimeUBound_Service(REALarray array) {
    const auto* const elements = FindArray(Enter("RuntimeUBound"), array);
    return elements ? static_cast<int>(elements->size()) - 1 : -1;
}

static int RuntimeDirectReadIntArray_Service(REALarray array, int index) {
    Runtime* const host = Enter("RuntimeDirectReadIntArray");
    const auto* const elements = FindArray(host, array);
    if (elements && index >= 0 && static_cast<std::size_t>(index) < elements->size()) {
        return (*elements)[static_cast<std::size_t>(index)];
    }
    if (host) AddFault(*host, "element " + std::to_string(index) + " was read from an array that has none such");
    return 0;
}

std::span<const Service> BlockServices() {
    static const Service services[] = {
        {"newMemoryBlock", reinterpret_cast<void*>(newMemoryBlock_Service)},
        {"memoryBlockGetPtr", reinterpret_cast<void*>(memoryBlockGetPtr_Service)},
        {"PtrToMemoryBlock", reinterpret_cast<void*>(PtrToMemoryBlock_Service)},
        {"RuntimeUBound", reinterpret_cast<void*>(RuntimeUBound_Service)},
        {"RuntimeDirectReadIntArray", reinterpret_cast<void*>(RuntimeDirectReadIntArray_Service)},
    };
    return services;
}

// --- look-up -------------------------------------------------------------------------------------------------------

void* ResolveService(const char* name) {
    if (!name || !gRuntime || gRuntime->options.missing.contains(name)) return nullptr;
    for (const auto services : {ApplicationServices(), ObjectServices(), StringServices(), BlockServices(),
                                FileServices(), PictureServices()}) {
        for (const Service& service : services) {
            if (std::string_view(service.name) == name) return service.function;
        }
    }
    return nullptr;
}

}  // namespace zorhost::runtime

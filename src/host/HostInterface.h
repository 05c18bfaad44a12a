#pragma once
// The binary interface between the plug-in and its host: records, handles and call types, shared by both sides.
//
// Every field of a class-table record is one word, a pointer-sized integer (8 bytes on 64-bit systems, 4 on
// 32-bit ones). Calls use the C calling convention. Programs outside this project rely on these layouts.

#include <cstddef>
#include <cstdint>

// Opaque host values. A handle is only passed along; what lies behind it belongs to the host.
struct REALobjectStruct;  // any object: PictureZOR, MemoryBlock, Picture, FolderItem, Graphics, exceptions, classes
struct REALstringStruct;
struct REALarrayStruct;
using REALobject = REALobjectStruct*;
using REALstring = REALstringStruct*;
using REALarray = REALarrayStruct*;

using REALword = std::intptr_t;   // a field of a table record
using REALboolean = signed char;  // as an argument; of a result only the low byte counts
using REALcolor = std::int32_t;   // red in bits 16-23, green in bits 8-15, blue in bits 0-7; top byte ignored
using REALfunction = void (*)();  // any function, before it is cast to its own type
using REALresolver = void* (*)(const char* name);  // address of the host function of that name, or null

// Flag bits of classes, methods, shared methods and properties.
enum : REALword {
    kREALPropertyRow = 0x2,       // set on every property row
    kREALConsoleSafe = 0x4,       // available in console applications
    kREALWebSafe = 0x8,           // added where kREALWebIfNew is set and the host is new enough
    kREALConsoleIfNew = 0x40000,  // deals in host pictures: console applications only on hosts that have them
    kREALWebIfNew = 0x80000
};

// Encoding numbers of host strings.
enum : unsigned {
    kREALEncodingMacRoman = 0,
    kREALEncodingUTF16 = 0x100,
    kREALEncodingASCII = 0x600,
    kREALEncodingUTF8 = 0x8000100,
    kREALEncodingUTF32 = 0xC000100,
    kREALEncodingBytes = 65535  // no encoding: raw bytes
};

struct REALproperty {
    const char* group;  // null
    const char* name;
    const char* type;  // type name in the host language
    REALword flags;
    REALword getter;  // -1: the host reads the stored field itself; a function; or 0 for none
    REALword setter;  // the same for writing; 0 makes the property read-only
    REALword field;   // byte offset of the stored value in the instance data
    REALword spare[3];
};

struct REALmethodDefinition {
    REALfunction function;
    REALfunction setterFunction;  // assignment form, or null
    const char* declaration;
    REALword flags;
};

struct REALconstant {
    const char* declaration;  // "Name = value" once the plug-in has started; the bare name before
    REALword unused;
    REALword value;  // 0 once the plug-in has started
};

struct REALevent {
    const char* declaration;
    REALword identifier;  // written by the host at registration
    REALword spare[2];
};

struct REALclassDefinition {
    REALword version;
    const char* name;
    const char* superName;
    REALword instanceDataSize;  // bytes; a multiple of 16 when registered
    REALword hostSlot;          // written by the host: where the instance data lies inside an object, in bytes
    REALfunction constructor;
    REALfunction destructor;
    REALproperty* properties;
    REALword propertyCount;
    REALmethodDefinition* methods;
    REALword methodCount;
    REALevent* events;
    REALword eventCount;
    void* eventInstances;
    REALword eventInstanceCount;
    const char* interfaces;
    void* attributes;
    REALword attributeCount;
    REALconstant* constants;
    REALword constantCount;
    REALword flags;
    REALproperty* sharedProperties;
    REALword sharedPropertyCount;
    REALmethodDefinition* sharedMethods;
    REALword sharedMethodCount;
};

// Bytes of a string, filled by PluginGetStringData and released by PluginDisposeStringData.
struct REALstringData {
    void* data;
    int length;  // bytes
    unsigned encoding;
};

// What a string handle points at. Old hosts (before 2012.0) let it be read directly; string setters read it always.
struct REALstringRecord {
    REALword first;
    const unsigned char* buffer;  // the text starts one byte behind this address
    REALword third;
    REALword length;  // bytes
};

// What the data of a description are; any other kind has to be drawn into a picture of one of these first.
enum : int {
    kPictureKindGWorld = 4,    // a GWorld of QuickDraw: applications of the desktop
    kPictureKindGDImage = 10,  // an image of the GD library: console and web applications
};

// Filled by the host when a picture is locked. Cleared by the caller beforehand.
struct REALpictureDescription {
    int kind;
    void* data;
    int width;
    int height;
    REALword spare[8];  // the host's own
};

// A file named by a folder item: an absolute path.
struct FSRef {
    char path[4096];
};
struct FSSpec {
    char path[4096];
};

namespace host_interface_layout {
constexpr std::size_t kWord = sizeof(REALword);
static_assert(sizeof(void*) == kWord && sizeof(REALfunction) == kWord);

static_assert(sizeof(REALproperty) == 10 * kWord);
static_assert(offsetof(REALproperty, name) == 1 * kWord && offsetof(REALproperty, type) == 2 * kWord);
static_assert(offsetof(REALproperty, flags) == 3 * kWord && offsetof(REALproperty, getter) == 4 * kWord);
static_assert(offsetof(REALproperty, setter) == 5 * kWord && offsetof(REALproperty, field) == 6 * kWord);

static_assert(sizeof(REALmethodDefinition) == 4 * kWord);
static_assert(offsetof(REALmethodDefinition, setterFunction) == 1 * kWord);
static_assert(offsetof(REALmethodDefinition, declaration) == 2 * kWord);
static_assert(offsetof(REALmethodDefinition, flags) == 3 * kWord);

static_assert(sizeof(REALconstant) == 3 * kWord && offsetof(REALconstant, value) == 2 * kWord);
static_assert(sizeof(REALevent) == 4 * kWord && offsetof(REALevent, identifier) == 1 * kWord);

static_assert(sizeof(REALclassDefinition) == 25 * kWord);
static_assert(offsetof(REALclassDefinition, name) == 1 * kWord);
static_assert(offsetof(REALclassDefinition, superName) == 2 * kWord);
static_assert(offsetof(REALclassDefinition, instanceDataSize) == 3 * kWord);
static_assert(offsetof(REALclassDefinition, hostSlot) == 4 * kWord);
static_assert(offsetof(REALclassDefinition, constructor) == 5 * kWord);
static_assert(offsetof(REALclassDefinition, destructor) == 6 * kWord);
static_assert(offsetof(REALclassDefinition, properties) == 7 * kWord);
static_assert(offsetof(REALclassDefinition, methods) == 9 * kWord);
static_assert(offsetof(REALclassDefinition, events) == 11 * kWord);
static_assert(offsetof(REALclassDefinition, eventInstances) == 13 * kWord);
static_assert(offsetof(REALclassDefinition, interfaces) == 15 * kWord);
static_assert(offsetof(REALclassDefinition, attributes) == 16 * kWord);
static_assert(offsetof(REALclassDefinition, constants) == 18 * kWord);
static_assert(offsetof(REALclassDefinition, flags) == 20 * kWord);
static_assert(offsetof(REALclassDefinition, sharedProperties) == 21 * kWord);
static_assert(offsetof(REALclassDefinition, sharedMethods) == 23 * kWord);
static_assert(offsetof(REALclassDefinition, sharedMethodCount) == 24 * kWord);

static_assert(offsetof(REALstringData, length) == kWord && offsetof(REALstringData, encoding) == kWord + 4);
static_assert(offsetof(REALstringRecord, buffer) == kWord && offsetof(REALstringRecord, length) == 3 * kWord);
static_assert(offsetof(REALpictureDescription, data) == kWord && offsetof(REALpictureDescription, width) == 2 * kWord);
static_assert(offsetof(REALpictureDescription, height) == 2 * kWord + 4);
}  // namespace host_interface_layout

// The only symbol a host looks for. Called once per process, before any class is used.
extern "C" void REALPluginMain(REALresolver resolver);

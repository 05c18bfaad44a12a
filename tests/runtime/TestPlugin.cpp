// A plug-in made for the tests of the embedded host: its classes exercise every kind of argument, result, property,
// event and service. It says what it saw in strings, so that a test compares what came through.

#include <sys/types.h>
#include <unistd.h>
#include <unwind.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "host/HostInterface.h"

namespace {

REALresolver gResolver = nullptr;
double gVersion = 0;
std::string gCpu;            // what the environment named at the start; "-" for nothing
int gGuards = 0;             // resources held inside calls
std::string gLog;            // what teardowns did, in order
REALobject gKept = nullptr;  // an object that the plug-in keeps, locked

template <class Function>
Function* Service(const char* name) {
    return reinterpret_cast<Function*>(gResolver(name));
}

void Lock(REALobject object) {
    Service<void(REALobject)>("REALLockObject")(object);
}
void Unlock(REALobject object) {
    Service<void(REALobject)>("REALUnlockObject")(object);
}
REALobject NewInstance(const char* name) {
    return Service<REALobject(const char*)>("PluginNewInstance")(name);
}

REALstring BuildString(const std::string& text) {
    const REALstring string =
        Service<REALstring(const void*, int)>("REALBuildString")(text.data(), static_cast<int>(text.size()));
    Service<void(REALstring, unsigned)>("REALSetStringEncoding")(string, kREALEncodingUTF8);
    return string;
}

// The bytes of a string, read from its record as old hosts demand.
std::string Text(REALstring string) {
    if (!string) return "nil";
    const auto* const record = reinterpret_cast<const REALstringRecord*>(string);
    return std::string(reinterpret_cast<const char*>(record->buffer) + 1, static_cast<std::size_t>(record->length));
}

REALobject BuildBlock(const void* bytes, std::size_t length) {
    const REALobject block = Service<REALobject(int)>("newMemoryBlock")(static_cast<int>(length));
    if (length > 0) std::memcpy(Service<void*(REALobject)>("memoryBlockGetPtr")(block), bytes, length);
    return block;
}

// --- class Probe ----------------------------------------------------------------------------------------------------

struct ProbeData {
    std::int32_t number;
    signed char flag;
    double real;
    std::int64_t big;
    REALcolor tint;
    REALobject friendObject;  // the host's reference
    REALobject parent;        // the plug-in's
    REALstring title;         // the host's
    std::int32_t cells[4];
};

extern REALclassDefinition gProbeClass;
ProbeData& Data(REALobject probe) {
    return *reinterpret_cast<ProbeData*>(reinterpret_cast<char*>(probe) + gProbeClass.hostSlot);
}

void RaiseNamed(const char* className, const char* message) {
    const REALobject exception = NewInstance(className);
    Service<void(REALobject)>("RuntimeRaiseException")(exception);
    const REALstring text = message ? BuildString(message) : nullptr;
    // After the raise, as a raise only marks.
    Service<REALboolean(REALobject, const char*, REALstring)>("REALSetPropValueString")(exception, "Message", text);
    if (text) Service<void(REALstring)>("REALUnlockString")(text);
}

void ProbeConstructInteger(REALobject self, int number) {
    Data(self).number = number;
}
void ProbeConstructString(REALobject self, REALstring title) {
    Data(self).number = title ? 77 : 78;
}
void ProbeConstructFailing(REALobject self, int number, REALboolean fails) {
    Data(self).number = number;
    if (fails) RaiseNamed("OutOfMemoryException", "no room for a probe");
}

// Also the method Close. As the teardown of a scratch file does when it runs twice, it closes descriptor 0.
void ProbeDestructor(REALobject self) {
    ProbeData& data = Data(self);
    gLog += "~" + std::to_string(data.number);
    if (data.friendObject) gLog += "(friend " + std::to_string(Data(data.friendObject).number) + ")";
    gLog += " ";
    if (ftruncate(0, 0) == 0) gLog += "TRUNCATED ";
    close(0);
    if (data.parent) {
        const REALobject parent = data.parent;
        data.parent = nullptr;
        Unlock(parent);
    }
}

std::string Describe(REALobject object) {
    return object ? "probe " + std::to_string(Data(object).number) : "nil";
}

REALstring ProbeAll(REALobject self, REALboolean b, int i, std::int64_t l, double d, REALcolor c, REALstring s,
                    REALobject m, REALobject o, REALarray a, REALobject v) {
    char text[200];
    std::snprintf(text, sizeof text, "%d %d %lld %.17g %06X", b, i, static_cast<long long>(l), d, c);
    std::string all = Describe(self) + ": " + text + " " + Text(s) + " ";
    void* const bytes = Service<void*(REALobject)>("memoryBlockGetPtr")(m);
    all += bytes ? std::string(static_cast<const char*>(bytes), 3) : "nil";
    all += " " + Describe(o) + " [";
    const int last = Service<int(REALarray)>("RuntimeUBound")(a);
    for (int index = 0; index <= last; ++index) {
        all += std::to_string(Service<int(REALarray, int)>("RuntimeDirectReadIntArray")(a, index)) + ",";
    }
    return BuildString(all + "] " + Describe(v));
}

// Only the low byte of a Boolean result counts; these leave something in the others.
int ProbeEchoBoolean(REALobject, REALboolean value) {
    return 0x5A00 | value;
}
int ProbeEchoInteger(REALobject, int value) {
    return value;
}
std::int64_t ProbeEchoInt64(REALobject, std::int64_t value) {
    return value;
}
double ProbeEchoDouble(REALobject, double value) {
    return value;
}
REALcolor ProbeEchoColor(REALobject, REALcolor value) {
    return value;
}
REALstring ProbeEchoString(REALobject, REALstring value) {
    if (value) Service<void(REALstring)>("REALLockString")(value);
    return value;
}
REALobject ProbeEchoObject(REALobject, REALobject value) {
    if (value) Lock(value);
    return value;
}
std::int64_t ProbeSum(REALobject, REALarray values, REALarray more) {
    std::int64_t sum = 0;
    for (const REALarray array : {values, more}) {
        const int last = Service<int(REALarray)>("RuntimeUBound")(array);
        for (int i = 0; i <= last; ++i) sum += Service<int(REALarray, int)>("RuntimeDirectReadIntArray")(array, i);
    }
    return sum;
}
int ProbeReadPastArray(REALobject, REALarray values) {
    return Service<int(REALarray, int)>("RuntimeDirectReadIntArray")(values, 100);
}
void ProbeTouch(REALobject self) {
    Data(self).number += 1;
}

REALstring PickI(REALobject, int) {
    return BuildString("integer");
}
REALstring PickL(REALobject, std::int64_t) {
    return BuildString("int64");
}
REALstring PickD(REALobject, double) {
    return BuildString("double");
}
REALstring PickC(REALobject, REALcolor) {
    return BuildString("color");
}
REALstring PickS(REALobject, REALstring) {
    return BuildString("string");
}
REALstring PickO(REALobject, REALobject) {
    return BuildString("probe");
}
REALstring PickSub(REALobject, REALobject) {
    return BuildString("subprobe");
}
REALstring PickID(REALobject, int, double) {
    return BuildString("integer, double");
}
REALstring PickDI(REALobject, double, int) {
    return BuildString("double, integer");
}
REALstring PickDefaults(REALobject, REALboolean a, int b, double c, REALstring d, REALobject e, REALcolor f) {
    char text[100];
    std::snprintf(text, sizeof text, "%d %d %g %s %s %X", a, b, c, Text(d).c_str(), Describe(e).c_str(), f);
    return BuildString(text);
}
REALstring PickShort(REALobject, REALboolean) {
    return BuildString("no defaults");
}

int ProbeCell(REALobject self, int index) {
    return Data(self).cells[index & 3];
}
void ProbeSetCell(REALobject self, int index, int value) {
    Data(self).cells[index & 3] = value;
}
REALstring ProbeCellText(REALobject self, int index, double) {
    return BuildString("cell " + std::to_string(Data(self).cells[index & 3]));
}
void ProbeSetCellText(REALobject self, int index, double scale, REALstring value) {
    Data(self).cells[index & 3] = static_cast<int>(static_cast<double>(Text(value).size()) * scale);
}

void ProbeRaise(REALobject, REALstring className, REALstring message) {
    RaiseNamed(Text(className).c_str(), message ? Text(message).c_str() : nullptr);
}
void ProbeRaiseTwice(REALobject) {
    RaiseNamed("OutOfBoundsException", "the first");
    RaiseNamed("NilObjectException", "the second");
}
REALobject ProbeRaiseWithObject(REALobject) {
    RaiseNamed("UnsupportedOperationException", "with a result");
    return NewInstance("Probe");
}
REALstring ProbeRaiseWithString(REALobject) {
    RaiseNamed("UnsupportedOperationException", "with a result");
    return BuildString("lost");
}

struct Guard {
    Guard() { ++gGuards; }
    ~Guard() { --gGuards; }
};
int ProbeYield(REALobject, int times) {
    const Guard guard;
    int done = 0;
    for (; done < times; ++done) Service<void()>("REALYieldToRB")();
    return done;
}

REALobject ProbeSpawn(REALobject) {
    return NewInstance("Probe");
}
REALobject ProbeChild(REALobject self) {
    const REALobject child = NewInstance("Probe");
    Lock(self);
    Data(child).parent = self;
    Data(child).number = Data(self).number + 100;
    return child;
}
void ProbeUnlockOnceTooOften(REALobject) {
    const REALobject made = NewInstance("Probe");
    Unlock(made);
    Unlock(made);
}
void ProbeAskFromThread(REALobject self) {
    std::thread([self] { Lock(self); }).join();
}
int ProbeLoadAndCall(REALobject self, REALstring declaration) {
    void* const found =
        Service<void*(REALobject, const char*)>("REALLoadObjectMethod")(self, Text(declaration).c_str());
    return found ? reinterpret_cast<int (*)(REALobject, int)>(found)(self, 21) : -1;
}
int ProbeReadProperty(REALobject, REALobject object, REALstring name) {
    int value = 0;
    const bool known =
        Service<REALboolean(REALobject, const char*, int*)>("REALGetPropValueInt")(object, Text(name).c_str(), &value);
    return known ? value : -1;
}

REALstring ProbeConvert(REALobject, REALstring text, int encoding) {
    return Service<REALstring(REALstring, unsigned)>("REALConvertString")(text, static_cast<unsigned>(encoding));
}
int ProbeEncodingOf(REALobject, REALstring text) {
    return static_cast<int>(Service<unsigned(REALstring)>("REALGetStringEncoding")(text));
}
// The bytes in an encoding: by the service for that, or by what hosts without it have.
REALobject ProbeDataOf(REALobject, REALstring text, int encoding) {
    using GetData = REALboolean(REALstring, unsigned, REALstringData*);
    if (auto* const getData = Service<GetData>("PluginGetStringData")) {
        REALstringData data{};
        if (!getData(text, static_cast<unsigned>(encoding), &data)) return nullptr;
        const REALobject block = BuildBlock(data.data, static_cast<std::size_t>(data.length));
        Service<void(REALstringData*)>("PluginDisposeStringData")(&data);
        return block;
    }
    void* const lenB = Service<void*(const char*)>("REALLoadGlobalMethod")("LenB( s as string ) as integer");
    const char* const bytes = Service<const char*(REALstring)>("StringGetCString")(text);
    return BuildBlock(bytes, static_cast<std::size_t>(reinterpret_cast<int (*)(REALstring)>(lenB)(text)));
}
REALobject ProbeRecordOf(REALobject, REALstring text) {
    const std::string bytes = Text(text);
    return BuildBlock(bytes.data(), bytes.size());
}

REALobject ProbeBlockOver(REALobject self) {
    return Service<REALobject(void*)>("PtrToMemoryBlock")(&Data(self).cells);
}
REALobject ProbeNewBlock(REALobject, int size) {
    return Service<REALobject(int)>("newMemoryBlock")(size);
}

// Which of the look-ups of a folder item answers, and what.
REALstring ProbePathOf(REALobject, REALobject item, int lookUp) {
    using GetRef = REALboolean(REALobject, FSRef*, REALstring*);
    FSRef ref{};
    if (lookUp == 1)
        return BuildString(Service<GetRef>("REALFSRefFromFolderItem")(item, &ref, nullptr) ? ref.path : "no");
    if (lookUp == 2) {
        REALstring name = nullptr;
        if (!Service<GetRef>("REALFSRefFromFolderItem")(item, &ref, &name)) return BuildString("no");
        return BuildString(std::string(ref.path) + " + " + Text(name));
    }
    FSSpec spec{};
    using GetSpec = REALboolean(FSSpec*, REALobject);
    return BuildString(Service<GetSpec>("REALFSSpecFromFolderItem")(&spec, item) ? spec.path : "no");
}

int ProbeGetTwice(REALobject self, REALword word) {
    return word == 0 ? Data(self).number * 2 : -1;
}
void ProbeSetTwice(REALobject self, REALword word, int value) {
    if (word == 0) Data(self).number = value / 2;
}
std::int64_t ProbeGetHuge(REALobject, REALword) {
    return 0x123456789ABCDEF0;
}
REALstring ProbeGetText(REALobject self, REALword) {
    return BuildString(Describe(self));
}
REALobject ProbeGetCells(REALobject self, REALword) {
    return ProbeBlockOver(self);
}
int ProbeGetFailing(REALobject, REALword) {
    RaiseNamed("OutOfBoundsException", "not readable today");
    return 1;
}
void ProbeSetReal(REALobject self, REALword, double value) {
    Data(self).real = value;
}
void ProbeSetBoolean(REALobject self, REALword, REALboolean value) {
    Data(self).flag = value ? 2 : 0;
}

template <class Result, class... Args>
REALfunction F(Result (*function)(Args...)) {
    return reinterpret_cast<REALfunction>(function);
}
template <class Result, class... Args>
REALword W(Result (*function)(Args...)) {
    return reinterpret_cast<REALword>(function);
}
constexpr REALword kAll = kREALConsoleSafe | kREALWebSafe;
constexpr REALword kProperty = kREALPropertyRow | kAll;

REALproperty gProbeProperties[] = {
    {nullptr, "Number", "Integer", kProperty, -1, -1, offsetof(ProbeData, number), {}},
    {nullptr, "Flag", "Boolean", kProperty, -1, -1, offsetof(ProbeData, flag), {}},
    {nullptr, "Real", "double", kProperty, -1, -1, offsetof(ProbeData, real), {}},
    {nullptr, "Big", "Int64", kProperty, -1, -1, offsetof(ProbeData, big), {}},
    {nullptr, "Tint", "Color", kProperty, -1, -1, offsetof(ProbeData, tint), {}},
    {nullptr, "Friend", "Probe", kProperty, -1, -1, offsetof(ProbeData, friendObject), {}},
    {nullptr, "Parent", "Probe", kProperty, -1, 0, offsetof(ProbeData, parent), {}},
    {nullptr, "Title", "String", kProperty, -1, -1, offsetof(ProbeData, title), {}},
    {nullptr, "Twice", "Integer", kProperty, W(ProbeGetTwice), W(ProbeSetTwice), 0, {}},
    {nullptr, "Huge", "Int64", kProperty, W(ProbeGetHuge), 0, 0, {}},
    {nullptr, "Text", "String", kProperty, W(ProbeGetText), 0, 0, {}},
    {nullptr, "Cells", "Memoryblock", kProperty, W(ProbeGetCells), 0, 0, {}},
    {nullptr, "Failing", "Integer", kProperty, W(ProbeGetFailing), 0, 0, {}},
    {nullptr, "RealToSet", "Double", kProperty, 0, W(ProbeSetReal), 0, {}},
    {nullptr, "FlagToSet", "Boolean", kProperty, -1, W(ProbeSetBoolean), offsetof(ProbeData, flag), {}},
    {nullptr, "DesktopNumber", "Integer", kREALPropertyRow, -1, -1, offsetof(ProbeData, number), {}},
};

REALmethodDefinition gProbeMethods[] = {
    {F(ProbeConstructInteger), nullptr, "Constructor(number as integer)", kAll},
    {F(ProbeConstructString), nullptr, "Constructor(title as string)", kAll},
    {F(ProbeConstructFailing), nullptr, "Constructor(number as integer, fails as boolean)", kAll},
    {F(ProbeDestructor), nullptr, "Close", kAll},
    {F(ProbeAll), nullptr,
     "All(b as boolean, i as integer, l as Int64, d as double, c as color, s as string, m as memoryblock, o as Probe, "
     "a() as integer, v as variant) as string",
     kAll},
    {F(ProbeEchoBoolean), nullptr, "EchoBoolean(value as boolean) as boolean", kAll},
    {F(ProbeEchoInteger), nullptr, "EchoInteger(value as integer) as integer", kAll},
    {F(ProbeEchoInt64), nullptr, "EchoInt64(value as Int64) as Int64", kAll},
    {F(ProbeEchoDouble), nullptr, "EchoDouble(value as double) as double", kAll},
    {F(ProbeEchoColor), nullptr, "EchoColor(value as color) as color", kAll},
    {F(ProbeEchoString), nullptr, "EchoString(value as string) as string", kAll},
    {F(ProbeEchoObject), nullptr, "EchoObject(value as Probe) as Probe", kAll},
    {F(ProbeEchoObject), nullptr, "EchoBlock(value as memoryblock) as memoryblock", kAll},
    {F(ProbeEchoObject), nullptr, "EchoPicture(value as picture) as picture", kAll},
    {F(ProbeEchoObject), nullptr, "EchoVariant(value as variant) as variant", kAll},
    {F(ProbeSum), nullptr, "Sum(values() as integer, more() as integer) as Int64", kAll},
    {F(ProbeReadPastArray), nullptr, "ReadPastArray(values() as integer) as integer", kAll},
    {F(ProbeTouch), nullptr, "Touch", kAll},
    {F(PickI), nullptr, "Pick(value as integer) as string", kAll},
    {F(PickL), nullptr, "Pick(value as int64) as string", kAll},
    {F(PickD), nullptr, "Pick(value as double) as string", kAll},
    {F(PickC), nullptr, "Pick(value as color) as string", kAll},
    {F(PickS), nullptr, "Pick(value as string) as string", kAll},
    {F(PickO), nullptr, "Pick(value as Probe) as string", kAll},
    {F(PickSub), nullptr, "Pick(value as SubProbe) as string", kAll},
    {F(PickID), nullptr, "Pick(a as integer, b as double) as string", kAll},
    {F(PickDI), nullptr, "Pick(a as double, b as integer) as string", kAll},
    {F(PickDefaults), nullptr,
     "Defaults(a as boolean, b as integer = -10000, c as double=0.5, d as string = \"x, y\", e as Probe=nil, "
     "f as color = &hFF0000) as string",
     kAll},
    {F(PickShort), nullptr, "Defaults(a as boolean) as string", kAll},
    {F(ProbeCell), F(ProbeSetCell), "Cell(index as integer) as integer", kAll},
    {F(ProbeCellText), F(ProbeSetCellText), "Cell(index as integer, scale as double) as string", kAll},
    {F(ProbeRaise), nullptr, "Raise(className as string, message as string)", kAll},
    {F(ProbeRaiseTwice), nullptr, "RaiseTwice", kAll},
    {F(ProbeRaiseWithObject), nullptr, "RaiseWithObject as Probe", kAll},
    {F(ProbeRaiseWithString), nullptr, "RaiseWithString as string", kAll},
    {F(ProbeYield), nullptr, "Yield(times as integer) as integer", kAll},
    {F(ProbeSpawn), nullptr, "Spawn as Probe", kAll},
    {F(ProbeChild), nullptr, "Child as Probe", kAll},
    {F(ProbeUnlockOnceTooOften), nullptr, "UnlockOnceTooOften", kAll},
    {F(ProbeAskFromThread), nullptr, "AskFromThread", kAll},
    {F(ProbeLoadAndCall), nullptr, "LoadAndCall(declaration as string) as integer", kAll},
    {F(ProbeReadProperty), nullptr, "ReadProperty(o as variant, name as string) as integer", kAll},
    {F(ProbeConvert), nullptr, "Convert(text as string, encoding as integer) as string", kAll},
    {F(ProbeEncodingOf), nullptr, "EncodingOf(text as string) as integer", kAll},
    {F(ProbeDataOf), nullptr, "DataOf(text as string, encoding as integer) as memoryblock", kAll},
    {F(ProbeRecordOf), nullptr, "RecordOf(text as string) as memoryblock", kAll},
    {F(ProbeBlockOver), nullptr, "BlockOver as memoryblock", kAll},
    {F(ProbeNewBlock), nullptr, "NewBlock(size as integer) as memoryblock", kAll},
    {F(ProbePathOf), nullptr, "PathOf(item as folderitem, lookUp as integer) as string", kAll},
    {F(ProbeTouch), nullptr, "OnDesktop", 0},
    {F(ProbeTouch), nullptr, "OnConsole", kREALConsoleSafe},
};

REALconstant gProbeConstants[] = {
    {"Nine = 9", 0, 0},    {"Ten = &h0000000A", 0, 0},       {"Minus = -3", 0, 0},
    {"Half = 0.5", 0, 0},  {"Greeting = \"hi, you\"", 0, 0}, {"AllBits = &hFFFFFFFF", 0, 0},
    {"Truth = true", 0, 0}};

// --- its shared methods ---------------------------------------------------------------------------------------------

REALstring SharedTakeLog() {
    const REALstring log = BuildString(gLog);
    gLog.clear();
    return log;
}
double SharedHostVersion() {
    return gVersion;
}
REALstring SharedCpu() {
    return BuildString(gCpu);
}
int SharedGuards() {
    return gGuards;
}
REALboolean SharedClassExists(REALstring name) {
    return Service<void*(const char*)>("pluginObjectType")(Text(name).c_str()) != nullptr;
}
REALboolean SharedServiceExists(REALstring name) {
    return gResolver(Text(name).c_str()) != nullptr;
}
void SharedKeep(REALobject object) {
    if (object) Lock(object);
    if (gKept) Unlock(gKept);
    gKept = object;
}

REALmethodDefinition gProbeShared[] = {
    {F(SharedTakeLog), nullptr, "TakeLog as string", kAll},
    {F(SharedHostVersion), nullptr, "HostVersion as double", kAll},
    {F(SharedCpu), nullptr, "Cpu as string", kAll},
    {F(SharedGuards), nullptr, "Guards as integer", kAll},
    {F(SharedClassExists), nullptr, "ClassExists(name as string) as boolean", kAll},
    {F(SharedServiceExists), nullptr, "ServiceExists(name as string) as boolean", kAll},
    {F(SharedKeep), nullptr, "Keep(value as Probe)", kAll},
    {F(SharedGuards), nullptr, "SharedOnDesktop as integer", 0},
};

// --- class SubProbe, below Probe
// --------------------------------------------------------------------------------------

struct SubProbeData {
    std::int32_t extra;
};
extern REALclassDefinition gSubProbeClass;
SubProbeData& SubData(REALobject probe) {
    return *reinterpret_cast<SubProbeData*>(reinterpret_cast<char*>(probe) + gSubProbeClass.hostSlot);
}
void SubProbeConstructor(REALobject self) {
    SubData(self).extra = 5;
}
void SubProbeDestructor(REALobject self) {
    gLog += "~sub" + std::to_string(SubData(self).extra) + " ";
}
void SubProbeConstruct(REALobject self) {
    SubData(self).extra += 1;
}
REALproperty gSubProbeProperties[] = {{nullptr, "Extra", "Integer", kProperty, -1, -1, 0, {}}};
REALmethodDefinition gSubProbeMethods[] = {{F(SubProbeConstruct), nullptr, "Constructor()", kAll}};

// --- class Maker, whose events applications implement
// -----------------------------------------------------------------

REALevent gMakerEvents[] = {
    {"Make(Width as integer, Ratio as double, Title as string, Deep as boolean, Big as Int64, Tint as color, Other as "
     "Probe) as Probe",
     0,
     {}},
    {"Count(x as integer) as integer", 0, {}},
    {"IsDone(x as integer) as boolean", 0, {}},
    {"Ratio(x as integer) as double", 0, {}},
    {"Label(x as integer) as string", 0, {}},
    {"Ping()", 0, {}},
};
template <class Function>
Function* EventOf(REALobject maker, int event) {
    return reinterpret_cast<Function*>(
        Service<void*(REALobject, REALword)>("GetEventInstance")(maker, gMakerEvents[event].identifier));
}
REALobject MakerAsk(REALobject maker, REALobject other) {
    using Make = REALobject(REALobject, int, double, REALstring, REALboolean, std::int64_t, REALcolor, REALobject);
    auto* const make = EventOf<Make>(maker, 0);
    if (!make) return nullptr;
    const Guard guard;
    struct Title {
        REALstring string = BuildString("a title");
        ~Title() { Service<void(REALstring)>("REALUnlockString")(string); }
    } title;
    return make(maker, -7, 1.25, title.string, 1, 0x100000000, 0x102030, other);
}
REALstring MakerAskAll(REALobject maker) {
    std::string all;
    if (auto* const count = EventOf<int(REALobject, int)>(maker, 1)) all += std::to_string(count(maker, 4));
    if (auto* const isDone = EventOf<REALboolean(REALobject, int)>(maker, 2))
        all += isDone(maker, 4) ? " done" : " open";
    if (auto* const ratio = EventOf<double(REALobject, int)>(maker, 3)) all += std::to_string(ratio(maker, 4));
    if (auto* const label = EventOf<REALstring(REALobject, int)>(maker, 4)) {
        const REALstring text = label(maker, 4);
        all += Text(text);
        if (text) Service<void(REALstring)>("REALUnlockString")(text);
    }
    if (auto* const ping = EventOf<void(REALobject)>(maker, 5)) ping(maker);
    return BuildString(all);
}
REALmethodDefinition gMakerShared[] = {
    {F(MakerAsk), nullptr, "Ask(maker as Maker, other as Probe) as Probe", kAll},
    {F(MakerAskAll), nullptr, "AskAll(maker as Maker) as string", kAll},
};

// --- class Keeper, which holds a maker as the only one ---------------------------------------------------------------

struct KeeperData {
    REALobject held;
};
extern REALclassDefinition gKeeperClass;
REALobject KeeperAsk(REALobject self) {
    return MakerAsk(reinterpret_cast<KeeperData*>(reinterpret_cast<char*>(self) + gKeeperClass.hostSlot)->held,
                    nullptr);
}
REALproperty gKeeperProperties[] = {{nullptr, "Held", "Maker", kProperty, -1, -1, 0, {}}};
REALmethodDefinition gKeeperMethods[] = {{F(KeeperAsk), nullptr, "AskHeld as Probe", kAll}};

// --- a factory class, named as the one that hosts make factories of
// ---------------------------------------------------

REALevent gFactoryEvents[] = {
    {"NewPictureZOR(Width as integer, Height as integer, ImageFormat as integer) as Probe", 0, {}}};
REALobject FactoryAsk(REALobject factory) {
    void* const found = Service<void*(REALobject, REALword)>("GetEventInstance")(factory, gFactoryEvents[0].identifier);
    return reinterpret_cast<REALobject (*)(REALobject, int, int, int)>(found)(factory, 3, 4, 5);
}
REALmethodDefinition gFactoryShared[] = {{F(FactoryAsk), nullptr, "Ask(factory as PictureFactoryZOR) as Probe", kAll}};

template <class Row, std::size_t Count>
REALword CountOf(const Row (&)[Count]) {
    return static_cast<REALword>(Count);
}

REALclassDefinition gProbeClass;
REALclassDefinition gSubProbeClass;
REALclassDefinition gMakerClass;
REALclassDefinition gKeeperClass;
REALclassDefinition gFactoryClass;

void FillTables() {
    gProbeClass.version = 9;
    gProbeClass.name = "Probe";
    gProbeClass.instanceDataSize = (sizeof(ProbeData) + 15) / 16 * 16;
    gProbeClass.destructor = F(ProbeDestructor);
    gProbeClass.properties = gProbeProperties;
    gProbeClass.propertyCount = CountOf(gProbeProperties);
    gProbeClass.methods = gProbeMethods;
    gProbeClass.methodCount = CountOf(gProbeMethods);
    gProbeClass.sharedMethods = gProbeShared;
    gProbeClass.sharedMethodCount = CountOf(gProbeShared);
    gProbeClass.constants = gProbeConstants;
    gProbeClass.constantCount = CountOf(gProbeConstants);
    gProbeClass.flags = kAll;

    gSubProbeClass.version = 9;
    gSubProbeClass.name = "SubProbe";
    gSubProbeClass.superName = "Probe";
    gSubProbeClass.instanceDataSize = 16;
    gSubProbeClass.constructor = F(SubProbeConstructor);
    gSubProbeClass.destructor = F(SubProbeDestructor);
    gSubProbeClass.properties = gSubProbeProperties;
    gSubProbeClass.propertyCount = CountOf(gSubProbeProperties);
    gSubProbeClass.methods = gSubProbeMethods;
    gSubProbeClass.methodCount = CountOf(gSubProbeMethods);
    gSubProbeClass.flags = kREALConsoleSafe;

    gMakerClass.version = 9;
    gMakerClass.name = "Maker";
    gMakerClass.events = gMakerEvents;
    gMakerClass.eventCount = CountOf(gMakerEvents);
    gMakerClass.sharedMethods = gMakerShared;
    gMakerClass.sharedMethodCount = CountOf(gMakerShared);
    gMakerClass.flags = kAll;

    gKeeperClass.version = 9;
    gKeeperClass.name = "Keeper";
    gKeeperClass.instanceDataSize = 16;
    gKeeperClass.properties = gKeeperProperties;
    gKeeperClass.propertyCount = CountOf(gKeeperProperties);
    gKeeperClass.methods = gKeeperMethods;
    gKeeperClass.methodCount = CountOf(gKeeperMethods);
    gKeeperClass.flags = kAll;

    gFactoryClass.version = 9;
    gFactoryClass.name = "PictureFactoryZOR";
    gFactoryClass.events = gFactoryEvents;
    gFactoryClass.eventCount = CountOf(gFactoryEvents);
    gFactoryClass.sharedMethods = gFactoryShared;
    gFactoryClass.sharedMethodCount = CountOf(gFactoryShared);
    gFactoryClass.flags = kAll;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALresolver resolver) {
    gResolver = resolver;
    // An unwinder that is linked in must have looked at a stack once before an exception of the program may pass.
    _Unwind_Backtrace([](_Unwind_Context*, void*) { return _URC_END_OF_STACK; }, nullptr);
    if (auto* const registerVersion = Service<void(int)>("RegisterPluginVersion")) registerVersion(9);
    if (auto* const version = Service<double()>("REALGetRBVersion")) gVersion = version();
    const char* const cpu = std::getenv("ZOR_CPU");
    gCpu = cpu ? cpu : "-";
    FillTables();
    for (REALclassDefinition* definition :
         {&gProbeClass, &gSubProbeClass, &gMakerClass, &gKeeperClass, &gFactoryClass}) {
        Service<void(REALclassDefinition*)>("PluginRegisterClass")(definition);
    }
}

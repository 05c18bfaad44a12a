#include "host/HostText.h"

#include <cstdio>
#include <string>

#include "host/HostCalls.h"
#include "host/Platform.h"

namespace zor {

// From this version on the host hands out copies of a string's bytes; before it, the string record is read directly.
constexpr double kFirstHostWithStringData = 2012.0;

static bool HostHandsOutCopies() {
    return rbversion_rbversion >= kFirstHostWithStringData;
}

static void ReadStringRecord(REALstring string, const void** data, int* length) {
    const REALstringRecord* const record = reinterpret_cast<const REALstringRecord*>(string);
    *length = static_cast<int>(record->length);
    *data = record->buffer ? record->buffer + 1 : nullptr;  // the first byte of the buffer is not text
}

rbData::rbData(REALstring src) {
    if (!src) return;
    if (HostHandsOutCopies()) {
        if (REALGetStringData(src, kREALEncodingBytes, &stringData)) {
            data = stringData.data;
            length = stringData.length;
            filled = true;
        }
    } else {
        REALLockString(src);
        string = src;
        ReadStringRecord(src, &data, &length);
    }
}

rbData::~rbData() {
    if (string) REALUnlockString(string);
    if (object) REALUnlockObject(object);
    if (filled) REALDisposeStringData(&stringData);
}

rbText::rbText(REALstring string) {
    for (int& slotLength : length) slotLength = -1;
    if (!string) return;
    if (REALGetStringEncoding(string) == kREALEncodingBytes) {
        const rbData bytes(string);
        src = REALBuildUnicodeString(bytes.data, bytes.length, kREALEncodingMacRoman);
    } else {
        REALLockString(string);
        src = string;
    }
}

rbText::~rbText() {
    REALUnlockString(src);
    for (int slot = 0; slot < kSlots; ++slot) {
        REALUnlockString(converted[slot]);
        if (filled[slot]) REALDisposeStringData(&stringData[slot]);
    }
}

const char* rbText::GetUTF8() {
    if (length[kUTF8] < 0) {
        length[kUTF8] = 0;
        data[kUTF8] = "";
        if (src && HostHandsOutCopies()) {
            if (REALGetStringData(src, kREALEncodingUTF8, &stringData[kUTF8])) {
                filled[kUTF8] = true;
                length[kUTF8] = stringData[kUTF8].length;
                if (stringData[kUTF8].data) data[kUTF8] = stringData[kUTF8].data;
            }
        } else if (src) {
            converted[kUTF8] = REALConvertString(src, kREALEncodingUTF8);
            if (converted[kUTF8]) {
                const void* text = nullptr;
                ReadStringRecord(converted[kUTF8], &text, &length[kUTF8]);
                if (text) data[kUTF8] = text;
            }
        }
    }
    return static_cast<const char*>(data[kUTF8]);
}

void DebugLog(REALstring string) {
    rbText text(string);
    const char* const bytes = text.GetUTF8();
    const std::string line(bytes, static_cast<std::size_t>(text.length[rbText::kUTF8]));  // hosts may not end the text
    SystemLog(line.c_str());
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

}  // namespace zor

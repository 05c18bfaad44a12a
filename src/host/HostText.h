#pragma once
// Holders that give out the bytes of a host string for as long as they live.

#include "host/HostInterface.h"

namespace zor {

// The raw bytes of a host string, whatever its encoding. A nil string gives no bytes.
struct rbData {
    REALstring string = nullptr;  // locked where its record is read directly
    REALobject object = nullptr;
    REALstringData stringData{};
    bool filled = false;  // stringData must be disposed of
    const void* data = nullptr;
    int length = 0;

    explicit rbData(REALstring src);
    ~rbData();
    rbData(const rbData&) = delete;
    rbData& operator=(const rbData&) = delete;
};

// The text of a host string as UTF-8. A nil string gives empty text. Strings without encoding are taken as Mac Roman.
struct rbText {
    static constexpr int kSlots = 5;  // one per kind of conversion; only UTF-8 is in use
    static constexpr int kUTF8 = 0;

    REALstring src = nullptr;  // locked
    REALstring converted[kSlots] = {};
    int length[kSlots];  // -1 until the conversion has been done
    const void* data[kSlots] = {};
    REALstringData stringData[kSlots] = {};
    bool filled[kSlots] = {};  // stringData must be disposed of

    explicit rbText(REALstring string);
    ~rbText();
    rbText(const rbText&) = delete;
    rbText& operator=(const rbText&) = delete;

    const char* GetUTF8();  // never null; valid while this holder lives
};

// Writes a line to the system log and to the standard error stream.
void DebugLog(REALstring string);

}  // namespace zor

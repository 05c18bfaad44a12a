#pragma once
// Every service of the host that the engine uses, reached by name at run time.
//
// A wrapper whose host function is missing does nothing and gives nil, 0 or false; it asks again at the next call.
// All of this belongs on the threads from which the host calls: any number of them, where it lets several work at a
// time on images that have nothing in common. Objects and strings called "locked for the caller" carry one lock that
// the caller gives back with REALUnlockObject or REALUnlockString.

#include <atomic>

#include "host/HostInterface.h"

namespace zor {

extern REALresolver gResolver;       // set once by REALPluginMain
extern double rbversion_rbversion;   // the host's version number; 0 where the host does not tell it
extern std::atomic<bool> IsConsole;  // sorted out lazily by CheckApplication; both false until then
extern std::atomic<bool> IsDesktop;

// --- classes, objects, events ------------------------------------------------------------------------------------
void REALRegisterClass(REALclassDefinition* definition);
void* REALGetClassRef(const char* name);
REALobject REALnewInstance(const char* className);  // locked for the caller, or nil
void REALLockObject(REALobject object);
void REALUnlockObject(REALobject object);
void* REALGetEventInstance(REALobject object, const REALevent* event);  // null: the class does not implement it
REALboolean REALGetPropValue(REALobject object, const char* property, int* value);
REALboolean REALSetPropValue(REALobject object, const char* property, REALstring value);
void* REALLoadObjectMethod(REALobject object, const char* declaration);

// --- exceptions: marked here, delivered by the host when the method returns ----------------------------------------
void REALRaiseException(REALobject exception);
// Raises className, or NilObjectException where that class is missing. The caller must return at once.
void RaiseException(const char* className, const char* message);
// "Parameter ... to method ... is too big" or "too small"; the allowed range is low to high - 1.
void RaiseOutOfBoundsException(std::int64_t value, std::int64_t low, std::int64_t high, const char* parameterName,
                               const char* methodName);

// --- arrays --------------------------------------------------------------------------------------------------------
int REALGetArrayUBound(REALarray array);
int REALGetArrayInt(REALarray array, int index);

// --- strings -------------------------------------------------------------------------------------------------------
void REALLockString(REALstring string);
void REALUnlockString(REALstring string);
REALstring originalREALBuildString(const void* bytes, int length);  // locked for the caller
unsigned REALGetStringEncoding(REALstring string);
void REALSetStringEncoding(REALstring string, unsigned encoding);
REALstring REALConvertString(REALstring string, unsigned encoding);  // locked for the caller
REALboolean REALGetStringData(REALstring string, unsigned encoding, REALstringData* data);
void REALDisposeStringData(REALstringData* data);
// A string of those bytes, locked for the caller; UTF-16 and UTF-32 text comes back as UTF-8. Nil for no bytes.
REALstring REALBuildUnicodeString(const void* bytes, int length, unsigned encoding);

// --- memory blocks -------------------------------------------------------------------------------------------------
REALobject REALNewMemoryBlock(int size);  // zero-filled, locked for the caller
void* REALMemoryBlockGetPtr(REALobject block);
REALobject REALPtrToMemoryBlock(void* address);                  // over that address, without a copy
REALobject REALBuildMemoryblock(const void* bytes, int length);  // with a copy of the bytes; nil below 1

// --- folder items --------------------------------------------------------------------------------------------------
REALboolean REALFSRefFromFolderItem(REALobject item, FSRef* ref, REALstring* name);
REALboolean REALFSSpecFromFolderItem(FSSpec* spec, REALobject item);

// --- pictures ------------------------------------------------------------------------------------------------------
REALobject REALNewPicture(int width, int height, int depth);
REALobject REALBuildPictureFromBuffer(int width, int height, int type, void* buffer, int rowBytes);
void REALLockPictureDescription(REALobject picture, REALpictureDescription* description);
REALboolean REALLockPictureDescription(REALobject picture, REALpictureDescription* description, REALword kind);
REALboolean REALLockPictureDescriptionX(REALobject picture, REALpictureDescription* description, REALword kind);
void REALUnlockPictureDescription(REALobject picture);
void REALPictureClearCache(REALobject picture);
REALobject REALGetPictureGraphics(REALobject picture);
REALobject REALGetPictureMask(REALobject picture, int create);

// --- application ---------------------------------------------------------------------------------------------------
void REALYieldToRB();
// Sorts the running application into IsDesktop or IsConsole by the application class that exists.
void CheckApplication();

}  // namespace zor

#pragma once
// What the engine needs of the operating system beyond plain POSIX calls. The only place that knows which system it is.

#include <pthread.h>

#include <cstddef>
#include <cstdint>

#include "host/HostInterface.h"

namespace zor {

// Ticks of a sixtieth of a second, wrapping at 32 bits.
std::uint32_t TickCount();

// Processors that are online; 1 where the system does not tell.
int ProcessorCount();

// Unit of mapped windows and of the rows of images in files, in bytes: the page size, at least 4096.
extern int AllocationGranularity;
int GetAllocationGranularity();

// Asks for large pages behind bytes that were just reserved and are yet to be touched. The system gives memory page by
// page at the first touch, which for pages of the usual size takes longer than most operations on a large image.
void AskForLargePages(void* bytes, std::size_t size);

// Blocks the calling thread for that many milliseconds.
void myDelay(long milliseconds);

// Names the calling thread where the system can; tries to find the way to do so once per process.
void SetThreadName(const char* name);

// Runs function(argument) on the system's queue of workers. False where the system has none; nothing runs then.
bool DispatchAsync(void (*function)(void*), void* argument);

// The address of a function that this process has in its global scope, or null.
void* FindInProcess(const char* name);

// Writes a line to the system log.
void SystemLog(const char* line);

// The absolute path of a folder item, whether or not the file exists. Zero-terminated; freed by the caller with
// free. Nil for a nil item or one that names no file.
char* UnixFilePath(REALobject folderItem);

// Makes the plug-in's own copy of the stack unwinder ready, so that an exception of the host's program passes through
// the plug-in and releases what its functions hold. An application in C++ cancels a long method that way, by throwing
// out of the yield.
void PrepareUnwinding();

}  // namespace zor

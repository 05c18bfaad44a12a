#pragma once
// Fork and join: a range of rows is split into bands, every band runs on a worker of its own, and the caller waits.
//
// No worker outlives the call. The fan-out knows nothing about images: it carries one pointer and one work function.
// Only the calling thread, the host's, talks to the host; it gives the host turns while it waits.

#include <pthread.h>

namespace zor {

// Works on the items first to last, both included; first above last is an empty band. index is the number of the
// band, or -1 when the whole range runs as one unsplit call. threaded is 1 on a worker and 0 in the calling thread.
// It must not throw, and on a worker it must not call the host.
using WorkFunction = void (*)(int first, int last, int index, signed char threaded, void const* data);

// What the fan-out needs of the system. Tests put their own functions here, for example to let thread creation fail.
struct WorkerSystem {
    int (*processorCount)();
    bool (*dispatch)(void (*function)(void*), void* argument);
    int (*createThread)(pthread_t* thread, void* (*start)(void*), void* argument);
    void (*setThreadName)(const char* name);
    void (*delay)(long milliseconds);
};
extern WorkerSystem gWorkerSystem;
WorkerSystem DefaultWorkerSystem();

// Runs items 0 to count - 1 and returns when every band has returned. threads below 0: one call in this thread, and
// the host gets no turn. 0: as many as there are processors. Above 32: 32. Without memory for the bands nothing runs.
// The bounds of the bands are fixed: count / threads items each, and the last band has the remainder besides, so that
// a range below the thread count is done in one piece. While it waits the host gets a turn before every pause of a
// millisecond; one that leaves through an exception out of its turn is let through once all workers are done.
void RunThreads(int threads, int count, void const* data, WorkFunction function);

// pthread_create with a stack of 2 MiB. The error of either step, 0 for success.
int my_pthread_create(pthread_t* thread, void* (*start)(void*), void* argument);

// Start routine of a worker: runs the band of the record and reports it done. The record is not touched after that.
void* threadfunction(void* record);

namespace fan_out {

// A mutex for one band, new or left behind by an earlier fan-out; null when out of memory. Detached workers may still
// be on their way out of it when a fan-out ends, so mutexes are given back and never destroyed.
void Init(pthread_mutex_t*& mutex);
void GiveBack(pthread_mutex_t* mutex);
void Lock(pthread_mutex_t* mutex);  // nothing for null
void Unlock(pthread_mutex_t* mutex);
int MutexesMade();  // in this process so far; the widest fan-out bounds it

}  // namespace fan_out

}  // namespace zor

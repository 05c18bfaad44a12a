#include "scale/FanOut.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "host/HostCalls.h"
#include "host/Platform.h"

namespace zor {

namespace fan_out {

namespace {

struct KeptMutex {
    pthread_mutex_t mutex;  // first, so that its address is that of the node
    KeptMutex* next;
};
static_assert(std::is_standard_layout_v<KeptMutex>);

pthread_mutex_t freeListGuard = PTHREAD_MUTEX_INITIALIZER;
KeptMutex* freeList = nullptr;
int mutexesMade = 0;

}  // namespace

void Init(pthread_mutex_t*& mutex) {
    mutex = nullptr;
    pthread_mutex_lock(&freeListGuard);
    if (freeList) {
        mutex = &freeList->mutex;
        freeList = freeList->next;
    } else if (auto* made = static_cast<KeptMutex*>(std::calloc(1, sizeof(KeptMutex)))) {
        pthread_mutex_init(&made->mutex, nullptr);
        mutex = &made->mutex;
        ++mutexesMade;
    }
    pthread_mutex_unlock(&freeListGuard);
}

void GiveBack(pthread_mutex_t* mutex) {
    if (!mutex) return;
    auto* node = reinterpret_cast<KeptMutex*>(mutex);
    pthread_mutex_lock(&freeListGuard);
    node->next = freeList;
    freeList = node;
    pthread_mutex_unlock(&freeListGuard);
}

void Lock(pthread_mutex_t* mutex) {
    if (mutex) pthread_mutex_lock(mutex);
}

void Unlock(pthread_mutex_t* mutex) {
    if (mutex) pthread_mutex_unlock(mutex);
}

int MutexesMade() {
    pthread_mutex_lock(&freeListGuard);
    const int made = mutexesMade;
    pthread_mutex_unlock(&freeListGuard);
    return made;
}

}  // namespace fan_out

namespace {

constexpr int kMaxThreads = 32;
constexpr std::size_t kWorkerStackBytes = 2097152;

struct BandRecord {
    int index;
    pthread_t thread;        // 0 on the dispatch path and once the band is over
    pthread_mutex_t* mutex;  // guards done; null where none could be made
    bool started;            // a worker took the band
    std::uint8_t done;       // the work function has returned; read and written as an atomic besides
    bool threaded;
    bool detach;  // the worker is a thread of our own
    int first;
    int last;
    void const* data;
    WorkFunction function;  // null: nothing to do, but the band still reports done
};

void ReportDone(BandRecord* band) {
    pthread_mutex_t* mutex = band->mutex;  // the record may be gone as soon as done is set
    fan_out::Lock(mutex);
    std::atomic_ref<std::uint8_t>(band->done).store(1, std::memory_order_release);
    fan_out::Unlock(mutex);
}

bool IsDone(BandRecord* band) {
    fan_out::Lock(band->mutex);
    const bool done = std::atomic_ref<std::uint8_t>(band->done).load(std::memory_order_acquire) != 0;
    fan_out::Unlock(band->mutex);
    return done;
}

void RunBand(BandRecord* band) {
    if (band->function) band->function(band->first, band->last, band->index, band->threaded ? 1 : 0, band->data);
    ReportDone(band);
}

void DispatchedBand(void* record) {
    RunBand(static_cast<BandRecord*>(record));
}

void InitThread(BandRecord* band) {
    fan_out::Init(band->mutex);
    band->threaded = true;  // before the worker can look at it
    if (gWorkerSystem.dispatch(DispatchedBand, band)) {
        band->started = true;
        return;
    }
    pthread_t thread{};
    if (gWorkerSystem.createThread(&thread, threadfunction, band) == 0) {
        band->thread = thread;
        band->started = true;
        band->detach = true;
        return;
    }
    band->threaded = false;
}

// The bands of one call. Its end, on whatever way out, waits for the workers that were started.
struct Bands {
    BandRecord* first;  // null without memory
    BandRecord* end;

    explicit Bands(int threads)
        : first(static_cast<BandRecord*>(std::calloc(static_cast<std::size_t>(threads), sizeof(BandRecord)))),
          end(first ? first + threads : nullptr) {}
    Bands(const Bands&) = delete;
    Bands& operator=(const Bands&) = delete;
    ~Bands() {
        for (BandRecord* band = first; band != end; ++band) {
            while (band->started && !IsDone(band)) gWorkerSystem.delay(1);
            if (band->detach) pthread_detach(band->thread);
            band->thread = {};
            fan_out::GiveBack(band->mutex);
        }
        std::free(first);
    }
};

}  // namespace

WorkerSystem DefaultWorkerSystem() {
    return {ProcessorCount, DispatchAsync, my_pthread_create, SetThreadName, myDelay};
}
WorkerSystem gWorkerSystem = DefaultWorkerSystem();

void RunThreads(int threads, int count, void const* data, WorkFunction function) {
    if (threads < 0) {
        function(0, count - 1, -1, 0, data);
        return;
    }
    threads = threads == 0 ? std::max(gWorkerSystem.processorCount(), 1) : std::min(threads, kMaxThreads);

    const Bands bands(threads);
    if (!bands.first) return;

    const int perBand = count / threads;
    int index = 0;
    for (BandRecord* band = bands.first; band != bands.end; ++band, ++index) {
        band->index = index;
        band->first = index * perBand;
        band->last = band->first + perBand - 1;
        band->data = data;
        band->function = function;
    }
    bands.end[-1].last = count - 1;

    for (BandRecord* band = bands.first; band != bands.end; ++band) InitThread(band);
    for (BandRecord* band = bands.first; band != bands.end; ++band) {
        if (!band->started) RunBand(band);
    }
    REALYieldToRB();
    for (BandRecord* band = bands.first; band != bands.end; ++band) {
        while (band->started && !IsDone(band)) {
            REALYieldToRB();
            gWorkerSystem.delay(1);
        }
    }
}

int my_pthread_create(pthread_t* thread, void* (*start)(void*), void* argument) {
    pthread_attr_t attributes;
    if (const int error = pthread_attr_init(&attributes)) return error;
    pthread_attr_setstacksize(&attributes, kWorkerStackBytes);
    const int error = pthread_create(thread, &attributes, start, argument);
    pthread_attr_destroy(&attributes);
    return error;
}

void* threadfunction(void* record) {
    RunBand(static_cast<BandRecord*>(record));
    return nullptr;
}

}  // namespace zor

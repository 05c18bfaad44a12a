#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <optional>

#include "TestHost.h"

namespace zorhost {

TEST(Objects, CountTheirLocks) {
    TestHost test;
    Object a = test.Probe(1);
    EXPECT_EQ(a.LockCount(), 1);
    {
        const Object b = a;
        EXPECT_EQ(a.LockCount(), 2);
        EXPECT_EQ(b, a);
    }
    EXPECT_EQ(a.LockCount(), 1);
    Object moved = std::move(a);
    EXPECT_FALSE(a);
    EXPECT_EQ(a.LockCount(), 0);
    EXPECT_EQ(moved.LockCount(), 1);
    a = moved;
    EXPECT_EQ(moved.LockCount(), 2);
    const Object& same = a;
    a = same;
    EXPECT_EQ(moved.LockCount(), 2);
    a = test.Probe(2);
    EXPECT_EQ(moved.LockCount(), 1);
    EXPECT_NE(a, moved);
    EXPECT_EQ(test.TakeLog(), "");
    moved = Object();
    EXPECT_EQ(test.TakeLog(), "~1 ");
    a = nullptr;
    EXPECT_EQ(test.TakeLog(), "~2 ");
    test.ExpectClean();
}

TEST(Objects, HaveZeroFilledAlignedData) {
    TestHost test;
    for (int round = 0; round < 50; ++round) {
        const Object probe = test.host.New("Probe", 0);
        const auto* const data = static_cast<const unsigned char*>(probe.InstanceData());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % 16, 0u);
        const unsigned char zeros[sizeof(void*) == 8 ? 80 : 64] = {};  // what a Probe has
        EXPECT_EQ(std::memcmp(data, zeros, sizeof zeros), 0);
        std::memset(probe.InstanceData(), 0, sizeof zeros);
        probe.Set("Number", round);
        EXPECT_EQ(std::memcmp(data, &round, sizeof round), 0);
    }
}

TEST(Objects, PassRawHandlesWithTheirLock) {
    TestHost test;
    Object probe = test.Probe(1);
    REALobjectStruct* const handle = probe.Handle();
    const Object again = Object::LockAgain(handle);
    EXPECT_EQ(probe.LockCount(), 2);
    EXPECT_EQ(probe.Release(), handle);
    EXPECT_FALSE(probe);
    EXPECT_EQ(again.LockCount(), 2);
    probe = Object::TakeOver(handle);
    EXPECT_EQ(again.LockCount(), 2);
    EXPECT_EQ(probe, again);
    EXPECT_FALSE(Object::TakeOver(nullptr));
    EXPECT_FALSE(Object::LockAgain(nullptr));
    EXPECT_NE(ErrorOf([] {
                  int nothing = 0;
                  Object::TakeOver(reinterpret_cast<REALobjectStruct*>(&nothing));
              }),
              "");
}

TEST(Objects, AreTornDownFromTheirClassUpwards) {
    TestHost test;
    test.host.New("SubProbe").Set("Number", 4);
    EXPECT_EQ(test.TakeLog(), "~sub6 ~4 ");
}

TEST(Objects, ReleaseHeldReferencesAfterTheirTeardown) {
    TestHost test;
    test.Probe(1).Set("Friend", test.Probe(2));
    EXPECT_EQ(test.TakeLog(), "~1(friend 2) ~2 ");
    test.ExpectClean();
}

TEST(Objects, StayWhileThePluginHoldsThem) {
    TestHost test;
    Object child;
    {
        const Object parent = test.Probe(1);
        child = parent.Call("Child").AsObject();
    }
    EXPECT_EQ(test.TakeLog(), "");
    child = nullptr;
    EXPECT_EQ(test.TakeLog(), "~101 ~1 ");
    test.host.CallShared("Probe", "Keep", test.Probe(5));
    EXPECT_EQ(test.TakeLog(), "");
    test.host.CallShared("Probe", "Keep", nullptr);
    EXPECT_EQ(test.TakeLog(), "~5 ");
    test.ExpectClean();
}

TEST(Objects, ReleasedTooOftenAreFaults) {
    TestHost test;
    test.Probe(1).Call("UnlockOnceTooOften");
    ASSERT_EQ(test.host.Faults().size(), 1u);
    EXPECT_EQ(test.host.Faults()[0].find("an object was unlocked once too often, by Probe.UnlockOnceTooOften at "), 0u);
    EXPECT_EQ(test.host.LeakReport(), "");
}

TEST(LeakReport, NamesEveryLiveObjectAndItsOrigin) {
    TestHost test;
    EXPECT_EQ(test.host.LeakReport(), "");
    const int line = __LINE__ + 1;
    const Object probe = test.host.New("Probe", 1);
    const Object copy = probe;
    const Object spawned = probe.Call("Spawn").AsObject();
    const Object block = test.host.MakeMemoryBlock(5);
    const auto live = test.host.LiveObjects();
    ASSERT_EQ(live.size(), 3u);
    const auto at = [&](int offset) { return "at ObjectsTest.cpp:" + std::to_string(line + offset); };
    EXPECT_EQ(live[0].className, "Probe");
    EXPECT_EQ(live[0].locks, 2);
    EXPECT_EQ(live[0].origin, at(0));
    EXPECT_EQ(live[1].origin, "by Probe.Spawn " + at(2));
    EXPECT_EQ(live[2].className, "MemoryBlock");
    EXPECT_EQ(test.host.LeakReport(), "Probe, 2 locks, made " + at(0) + "\nProbe, 1 lock, made by Probe.Spawn " +
                                          at(2) + "\nMemoryBlock, 1 lock, made " + at(3) + "\n");
}

TEST(LeakReport, NamesStringsThatThePluginKeeps) {
    TestHost test;
    const Object probe = test.Probe(1);
    probe.Set("Title", "held");
    EXPECT_NE(test.host.LeakReport().find("String of 4 bytes, 1 lock, made "), std::string::npos);
    probe.Set("Title", nullptr);
    EXPECT_EQ(test.host.LeakReport().find("String"), std::string::npos);
}

TEST(Host, TearsDownWhatIsLeftAtItsEnd) {
    Object survivor;
    {
        TestHost test;
        const Object parent = test.Probe(1);
        survivor = parent.Call("Child").AsObject();
        survivor.Set("Friend", test.Probe(3));
    }
    EXPECT_TRUE(survivor);
    EXPECT_EQ(ErrorOf([&] { survivor.Call("Touch"); }), "there is no running host");
    TestHost next;
    EXPECT_EQ(ErrorOf([&] { survivor.Call("Touch"); }), "the object went with the host that it belonged to");
    survivor = nullptr;
    next.ExpectClean();
}

// Descriptor 0 of the process for the time of a test.
struct StandardInput {
    explicit StandardInput(const char* path) {
        if (path) {
            const int file = open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            dup2(file, 0);
            if (file != 0) close(file);
        } else {
            close(0);
        }
    }
    ~StandardInput() {
        dup2(saved, 0);
        close(saved);
    }
    int saved = fcntl(0, F_DUPFD_CLOEXEC, 10);
};

// Whether descriptor 0 is open, and on which file.
static std::optional<ino_t> InodeOfZero() {
    struct stat status {};
    if (fstat(0, &status) != 0) return std::nullopt;
    return status.st_ino;
}

TEST(DescriptorZero, IsOutOfReachOfATeardown) {
    TestHost test;
    const std::string path = std::filesystem::temp_directory_path() / ("zero-" + std::to_string(getpid()));
    const StandardInput input(path.c_str());
    ASSERT_EQ(write(0, "kept", 4), 4);
    const auto before = InodeOfZero();
    ASSERT_TRUE(before);
    test.Probe(1);  // the teardown of this class truncates and closes descriptor 0
    const Object probe = test.Probe(2);
    probe.Call("Close");  // so does the method that is the same function
    EXPECT_EQ(InodeOfZero(), before);
    EXPECT_EQ(std::filesystem::file_size(path), 4u);
    EXPECT_EQ(fcntl(0, F_GETFD), 0);
    EXPECT_EQ(test.TakeLog(), "~1 ~2 ");
    std::filesystem::remove(path);
}

TEST(DescriptorZero, StaysClosedWhereItWasClosed) {
    TestHost test;
    const StandardInput input(nullptr);
    ASSERT_FALSE(InodeOfZero());
    test.Probe(1);
    EXPECT_FALSE(InodeOfZero());
}

TEST(DescriptorZero, IsFilledWhereAProgramRunsWithoutIt) {
    const StandardInput input(nullptr);
    TestHost test;
    EXPECT_TRUE(InodeOfZero());
    const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_NE(file, 0);
    close(file);
}

}  // namespace zorhost

// An application that calls anything with anything, and does anything in its turns. Whatever it does, nothing but the
// bytes of images is touched, and when it has given everything back nothing is left: no object, lock, descriptor,
// mapping or file.

#include <cstdio>
#include <cstdlib>

#include "Application.h"
#include "Expect.h"
#include "GtestFailures.h"

static long long calls = 0;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    FailuresAreFindings();
    std::atexit([] { std::fprintf(stderr, "calls of members: %lld\n", calls); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static FileGround files;
    const std::vector<int> descriptors = OpenDescriptors();  // the fuzzer itself opens some between inputs
    files.Prepare();
    Input input(bytes, size);
    {
        Application application(input, files);
        application.Run();
        application.Leave();
        calls += application.Calls();
    }
    Expect(OpenDescriptors() == descriptors, "no descriptor is left open, and none of others is closed");
    files.ExpectAsItWas();
    return 0;
}

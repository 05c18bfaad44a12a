#include <dlfcn.h>
#include <gtest/gtest.h>

// This program links no host: what it has of QuickDraw comes with the module.
TEST(Embedded, OffersQuickDrawFromAModuleThatWasOpenedForItselfAlone) {
    ASSERT_EQ(dlsym(RTLD_DEFAULT, "NewGWorld"), nullptr);
    void* const module = dlopen(EMBEDDED_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    ASSERT_EQ(dlsym(RTLD_DEFAULT, "NewGWorld"), nullptr);
    auto* const run = reinterpret_cast<int (*)(const char*)>(dlsym(module, "RunInModule"));
    ASSERT_NE(run, nullptr);
    EXPECT_EQ(run(ENGINE), 0);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "NewGWorld"), nullptr);
}

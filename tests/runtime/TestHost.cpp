#include "TestHost.h"

namespace zorhost {

TestHost::TestHost(HostOptions options) : FreshHost(TEST_PLUGIN, std::move(options)) {}

}  // namespace zorhost

#include "Processors.h"

#include <algorithm>
#include <thread>

static int sharing = 1;

int Processors() {
    const int all = std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
    return std::max((all + sharing - 1) / sharing, 1);
}

void ShareProcessors(int processes) {
    sharing = std::max(processes, 1);
}

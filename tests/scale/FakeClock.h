#pragma once
// A tick count that moves on by a second whenever it is looked at, so that every place that may give the host a turn
// does give it one.

class FakeClock {
public:
    FakeClock();
    ~FakeClock();
    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;
};

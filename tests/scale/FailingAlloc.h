#pragma once
// Lets calls of calloc by the engine fail, one after the other, or counts them.

class FailingAlloc {
public:
    // Lets the call after `passed` others fail, and only that one, for as long as this lives.
    explicit FailingAlloc(int passed);
    ~FailingAlloc();
    FailingAlloc(const FailingAlloc&) = delete;
    FailingAlloc& operator=(const FailingAlloc&) = delete;

    bool happened() const;  // the call came
};

// Counts what the engine asks calloc for.
class CountedAlloc {
public:
    CountedAlloc();
    long long bytes() const;  // since this was made, given back or not
    int calls() const;

private:
    long long bytesBefore_;
    int callsBefore_;
};

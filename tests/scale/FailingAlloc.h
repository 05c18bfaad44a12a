#pragma once
// Lets calls of calloc by the engine fail, one after the other.

class FailingAlloc {
public:
    // Lets the call after `passed` others fail, and only that one, for as long as this lives.
    explicit FailingAlloc(int passed);
    ~FailingAlloc();
    FailingAlloc(const FailingAlloc&) = delete;
    FailingAlloc& operator=(const FailingAlloc&) = delete;

    bool happened() const;  // the call came
};

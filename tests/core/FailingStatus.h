#pragma once
// Lets fstat fail. The program's own function stands before that of the C library.

// While it lives, the nth call from now on fails with that number; 1 is the next. One at a time.
class FailingStatus {
public:
    FailingStatus(int nth, int error);
    ~FailingStatus();
    FailingStatus(const FailingStatus&) = delete;
    FailingStatus& operator=(const FailingStatus&) = delete;

    bool happened() const;
};

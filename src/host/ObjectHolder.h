#pragma once
// A lock on an object of the host that ends with the scope, also where the application cancels the method by throwing.

#include "host/HostCalls.h"

namespace zor {

// Gives the object back, unless it is released to the caller first.
class ObjectHolder {
public:
    explicit ObjectHolder(REALobject object = nullptr) : object_(object) {}
    ~ObjectHolder() {
        if (object_) REALUnlockObject(object_);
    }
    ObjectHolder(const ObjectHolder&) = delete;
    ObjectHolder& operator=(const ObjectHolder&) = delete;
    REALobject get() const { return object_; }
    // Takes an object over, in place of none.
    void hold(REALobject object) { object_ = object; }
    REALobject release() {
        REALobject object = object_;
        object_ = nullptr;
        return object;
    }

private:
    REALobject object_;
};

}  // namespace zor

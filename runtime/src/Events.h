#pragma once
// Events: C++ callables that the plug-in calls as functions of its own signature.

#include <map>

#include "Runtime.h"

namespace zorhost::runtime {

// Code made at run time for one event of one object.
struct EventClosure {
    Signature signature;
    EventFunction function;
    std::string label;  // "PictureFactoryZOR.NewPictureZOR"
    CallInterface interface;
    ffi_closure* closure = nullptr;
    void* code = nullptr;  // what the plug-in calls

    EventClosure() = default;
    ~EventClosure();
    EventClosure(const EventClosure&) = delete;
    EventClosure& operator=(const EventClosure&) = delete;
};

std::unique_ptr<EventClosure> MakeEventClosure(const Class& type, const Event& event, EventFunction function);

// What an object of an application's subclass holds: the events that it implements.
struct HandlerData : NativeData {
    std::map<REALword, std::unique_ptr<EventClosure>> events;  // by the event's identifying word

    ~HandlerData() override;
};

}  // namespace zorhost::runtime

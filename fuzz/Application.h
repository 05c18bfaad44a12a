#pragma once
// An application that does anything that applications can do, as its input says: it holds images of every storage kind
// and all else that methods deal in, calls every member of the class tables, and uses the turns that it gets.

#include <memory>
#include <string>
#include <vector>

#include "EdgeArguments.h"
#include "Input.h"
#include "Leftovers.h"
#include "Members.h"
#include "Tape.h"
#include "scale/FakeClock.h"
#include "support/FakeHost.h"
#include "support/FakePictures.h"

class Application {
public:
    // With a tape it takes no turns, and notes what its calls give and which bytes they leave.
    Application(Input& input, const FileGround& files, Tape* tape = nullptr);

    void Run();    // until the input ends, or it has called enough
    void Leave();  // gives everything back; nothing may be left then
    int Calls() const { return calls_; }

private:
    using Objects = std::vector<REALobject>;  // each with a lock of the application's

    // What a turn or a factory does to cancel the method that gave it the turn.
    struct Cancelled {};

    void Act();
    void CallAny();
    Slot Call(const Member& member, REALobject object, const std::vector<Slot>& arguments);
    void Turn();
    REALobject AnswerFactory(int manner, int width, int height, int format);

    Slot Argument(const zorhost::Parameter& parameter, REALobject object);
    REALobject ObjectFor(const std::string& className, REALobject object);
    void BoundArguments(const Member& member, REALobject object, std::vector<Slot>* arguments);
    void BoundSizes(const Member& member, REALobject object, std::vector<Slot>* arguments);
    void TakeIn(REALobject object);
    void Read(const Member& member, const Slot& result);
    void NoteResult(const Member& member, const Slot& result);
    void NoteBytes(const std::string& what, REALobject object);

    void MakeImage();
    void MakeView();
    void MakePicture();
    void MakeOther();
    void Drop();
    void ShrinkAnyWindow();
    void MakeTrouble();
    void ChangeMask();
    REALobject BlockOf(std::int64_t bytes);
    REALobject NewItem();

    REALobject AnyOf(const Objects& objects);
    REALobject Locked(REALobject object);
    REALobject Temporary(REALobject object);  // goes at the end of the call
    void ReleaseTemporaries(std::size_t from);

    Input& input_;
    const FileGround& files_;
    Tape* const tape_;
    FakeHost host_;
    FakePictures pictures_;
    FakeClock clock_;
    Objects images_, hostPictures_, blocks_, factories_, others_, kept_, temporaries_;
    std::vector<REALstring> strings_;
    int calls_ = 0;
    int nested_ = 0;
    int untilTurn_ = 1;
    long interference_ = 0;  // what turns and factories did
};

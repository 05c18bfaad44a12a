// Rows of the class tables, compiled as they are, and with one of them spoilt by a definition WRONG_....

#include "plugin/Rows.h"

using namespace zor;

struct Record {
    int Width;
    bool Valid;
};

REALobject Lighter(REALobject object, int levels, double amount);
REALstring Text(REALobject object, int index);
void SetText(REALobject object, int index, REALstring text);
std::int64_t Bytes(int width, int height);
using Asked = REALobject(REALobject factory, int width);
REALobject Target(REALobject object, REALword);

#if defined(WRONG_METHOD)
REALmethodDefinition method = rows::Method(Lighter, "Lighter(levels as integer, amount as integer) as PictureZOR");
#elif defined(WRONG_ARGUMENT_MISSING)
REALmethodDefinition method =
    rows::Method(Lighter, "Lighter(levels as integer, amount as double, to as integer) as PictureZOR");
#elif defined(WRONG_ARGUMENT_TOO_MANY)
REALmethodDefinition method = rows::Method(Lighter, "Lighter(levels as integer) as PictureZOR");
#elif defined(WRONG_RESULT)
REALmethodDefinition method = rows::Method(Lighter, "Lighter(levels as integer, amount as double) as boolean");
#else
REALmethodDefinition method = rows::Method(Lighter, "Lighter(levels as integer, amount as double) as PictureZOR");
#endif

#ifdef WRONG_SETTER
void SetFromBlock(REALobject object, int index, REALobject block);
REALmethodDefinition assignable = rows::Method(Text, SetFromBlock, "Text(index as integer) as string");
#else
REALmethodDefinition assignable = rows::Method(Text, SetText, "Text(index as integer) as string");
#endif

#ifdef WRONG_SHARED_METHOD
REALmethodDefinition shared = rows::SharedMethod(Bytes, "Bytes(width as integer, height as integer) as integer");
#else
REALmethodDefinition shared = rows::SharedMethod(Bytes, "Bytes(width as integer, height as integer) as Int64");
#endif

#ifdef WRONG_EVENT
REALevent event = rows::Event<Asked>("Asked(width as integer, height as integer) as PictureZOR");
#else
REALevent event = rows::Event<Asked>("Asked(width as integer) as PictureZOR");
#endif

#ifdef WRONG_FIELD
REALproperty field = rows::ReadOnly("Width", "Boolean", 0, rows::FieldAt<decltype(Record::Width)>(0));
#else
REALproperty field = rows::ReadOnly("Width", "Integer", 0, rows::FieldAt<decltype(Record::Width)>(0));
#endif

#ifdef WRONG_GETTER
REALproperty got = rows::WithGetter("Target", "String", 0, Target);
#else
REALproperty got = rows::WithGetter("Target", "Picture", 0, Target);
#endif

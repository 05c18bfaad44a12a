#pragma once
// The reference of the plug-in's classes: what is registered, put together with a text for every member.
//
// A file of texts is named after its class and read line by line:
//
//     (text before the first heading)     about the class
//     ## Title                            a section, with a text of its own or none
//     ### Name                            a member: a property, a constant, or all methods of that name;
//                                         "shared Name" for shared methods, "event Name" for events
//     #### (first, second)                one form of the member above, by the names of its parameters; forms whose
//                                         parameters differ in type alone share a text
//     @ Name: text                        a row of a table, for properties and constants; ends at an empty line, and
//                                         what follows that is text between tables
//
// A member of one form has its text under its name. One of several has a text for each form, and may have one under
// its name for what the forms share.

#include <string>
#include <string_view>
#include <vector>

#include "zorhost/Description.h"

struct ClassText {
    zorhost::ClassDescription about;
    std::string text;      // contents of the file
    std::string fileName;  // for messages
};

// The whole document. Throws std::runtime_error with one line for each member or form without a text, for each text
// without a member, and for whatever is told twice.
std::string MakeReference(std::string_view preface, const std::vector<ClassText>& classes);

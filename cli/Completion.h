#pragma once
// What can stand next on the command line, for the shell.

#include <string>
#include <vector>

// `words` are the place of the word to complete among the others, counted from 0, and the words behind "zor", of which
// that one may be missing. One candidate a line, all of which begin with what that word holds so far; "<files>" and
// "<directories>" stand for what the shell finds itself, behind the last "=" of the word. A UsageError for a place that
// is no number.
std::string Completions(const std::vector<std::string>& words);

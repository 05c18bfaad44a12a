#pragma once
// How many threads the program has work for.

// The processors that there are, or this process's share of them; at least 1.
int Processors();

// So many processes share them from now on, of which this is one, or which come from it.
void ShareProcessors(int processes);

#pragma once
// Standard streams that were closed when the program was started.

// Puts a dead end in the place of each, so that no file of ours is opened there and gets what the program says: reading
// and writing fail as they do on a closed stream, and messages are lost. Before any file is opened.
void OccupyClosedStreams();

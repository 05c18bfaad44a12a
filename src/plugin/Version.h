#pragma once
// The version of the whole product: the plug-in, the embedded host and the command line program.
#define ZOR_VERSION "0.1.0"

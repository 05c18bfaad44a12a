#pragma once
// The services that a plug-in finds by name, grouped as the sources are.

#include <span>

namespace zorhost::runtime {

struct Service {
    const char* name;
    void* function;
};

std::span<const Service> ApplicationServices();  // versions, yield, exceptions
std::span<const Service> ObjectServices();       // classes, objects, events, properties, methods
std::span<const Service> StringServices();
std::span<const Service> BlockServices();  // memory blocks, arrays
std::span<const Service> FileServices();   // folder items
std::span<const Service> PictureServices();

// The names, besides those of the services, that FailCall takes: what plug-ins find otherwise.
std::span<const char* const> QuickDrawNames();

// The function given to a plug-in's entry. Null for names that the host does not know or is to miss.
void* ResolveService(const char* name);

}  // namespace zorhost::runtime

// A plug-in whose only class has a declaration that says nothing: opening it must fail and name the declaration.

#include <cstdlib>

#include "host/HostInterface.h"

static REALmethodDefinition gMethods[] = {
    {reinterpret_cast<REALfunction>(abort), nullptr, "Scale(source PictureZOR)", 4}};
static REALclassDefinition gClass;

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALresolver resolver) {
    gClass.version = 9;
    gClass.name = "Broken";
    gClass.methods = gMethods;
    gClass.methodCount = 1;
    gClass.flags = 4;
    reinterpret_cast<void (*)(REALclassDefinition*)>(resolver("PluginRegisterClass"))(&gClass);
}

#include "binding.h"

PYBIND11_MODULE(_kovral, module)
{
    module.doc() = "Splits slap fingerprint images into upright single-finger images (C++ core of kovral).";
    kovral_python::RegisterSplitting(module);
    kovral_python::RegisterFiles(module);
}

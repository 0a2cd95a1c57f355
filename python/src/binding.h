// The extension module kovral._kovral: numpy images in, fingers out, and a
// Python exception for every refusal. No C++ exception leaves a bound
// function unconverted (pybind11 turns std::bad_alloc into MemoryError and
// the errors thrown here into ValueError or TypeError).
#ifndef KOVRAL_PYTHON_BINDING_H
#define KOVRAL_PYTHON_BINDING_H

#include <pybind11/pybind11.h>

namespace kovral_python {

// Splitter, Finger, split, hand and the limits.
void RegisterSplitting(pybind11::module_& module);

// read, and the per-slap file batch that kovral-split runs, for kovral.dask.
void RegisterFiles(pybind11::module_& module);

} // namespace kovral_python

#endif

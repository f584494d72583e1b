#pragma once
// The few C API calls that differ between the interpreters SORVAN builds
// with: Python 3.9 (RHEL 9) to 3.13 (Fedora 41).
#include <Python.h>

namespace PyCompat
{

// A new reference to the object (Py_NewRef, which 3.9 lacks).
inline PyObject* newRef(PyObject* object)
{
    Py_INCREF(object);
    return object;
}

// Looks an attribute up without raising AttributeError when it is absent:
// 1 and a new reference when found, 0 when absent, -1 on another error.
inline int lookupAttr(PyObject* object, PyObject* name, PyObject** result)
{
#if PY_VERSION_HEX >= 0x030D0000
    return PyObject_GetOptionalAttr(object, name, result);
#else
    return _PyObject_LookupAttr(object, name, result);
#endif
}

} // namespace PyCompat

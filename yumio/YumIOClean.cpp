// Emptying the engine's caches, on the GUI thread: each is a short call of
// the script.
#include "yumio/YumIO.h"

long YumIO::cleanCall(char const* method)
{
    PyObject* result = pyMethodCall(yumIO, method, "()");
    // (status, messages...): a call that raised, or anything else, fails.
    long status = 1;
    if (result && PyTuple_Check(result) && PyTuple_Size(result) > 0) {
        PyObject* code = PyTuple_GetItem(result, 0);
        status = PyLong_Check(code) ? PyLong_AsLong(code) : 1;
        if (PyErr_Occurred()) {
            PyErr_Clear();
            status = 1;
        }
        if (PyTuple_Size(result) > 1)
            cleanReport += stringList(PyTuple_GetItem(result, 1));
    }
    Py_XDECREF(result);
    return status;
}

bool YumIO::clean(QString const& what, char const* method)
{
    cleanReport.clear();
    log(Log::Action, 0, what);
    if (!yumIO)
        return false;
    PyGILStateWrapper gil(true);
    return cleanCall(method) == 0;
}

bool YumIO::cleanHeaders()
{
    return clean(tr("Cleaning Headers"), "cleanHeaders");
}

bool YumIO::cleanPackages()
{
    return clean(tr("Cleaning Packages"), "cleanPackages");
}

bool YumIO::cleanXmlMetadata()
{
    return clean(tr("Cleaning Xml Metadata"), "cleanMetadata");
}

bool YumIO::cleanPickledCache()
{
    return clean(tr("Cleaning Pickled Cache"), "cleanPickles");
}

bool YumIO::cleanSqliteCache()
{
    return clean(tr("Cleaning Sqlite Cache"), "cleanSqlite");
}

bool YumIO::cleanAll()
{
    cleanReport.clear();
    log(Log::Action, 0, tr("Cleaning All"));
    if (!yumIO)
        return false;
    PyGILStateWrapper gil(true);
    // Every kind is cleaned, whatever the others' results.
    long const headers = cleanCall("cleanHeaders");
    long const packages = cleanCall("cleanPackages");
    long const metadata = cleanCall("cleanMetadata");
    long const pickles = hasPickledCache() ? cleanCall("cleanPickles") : 0;
    long const sqlite = hasSqliteCache() ? cleanCall("cleanSqlite") : 0;
    return headers == 0 && packages == 0 && metadata == 0 && pickles == 0 && sqlite == 0;
}

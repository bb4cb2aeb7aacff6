// The interpreter's lock and end; what a callback raises.
#include "bindings/python/Interpreter.h"

#include <unistd.h>

#include <utility>

namespace lumora::python {
namespace {

bool isFinalizing() {
#if PY_VERSION_HEX >= 0x030d0000
  return Py_IsFinalizing() != 0;
#else
  return _Py_IsFinalizing() != 0;
#endif
}

}  // namespace

// Only the thread that ends the interpreter comes here then.
Unlocked::Unlocked() : state_(isFinalizing() ? nullptr : PyEval_SaveThread()) {}

void Unlocked::end() {
  PyThreadState* const state = std::exchange(state_, nullptr);
  if (state == nullptr) return;
  while (isFinalizing()) pause();
  PyEval_RestoreThread(state);
}

void logException(const char* where) {
  if (PyErr_ExceptionMatches(PyExc_KeyboardInterrupt)) PyErr_SetInterrupt();
  PyObject *type = nullptr, *value = nullptr, *traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  PyErr_NormalizeException(&type, &value, &traceback);
  if (traceback != nullptr) PyException_SetTraceback(value, traceback);
  PyObject* const package = PyImport_ImportModule("lumora._platform");
  PyObject* const done =
      package == nullptr ? nullptr : PyObject_CallMethod(package, "log_exception", "sO", where, value);
  // Where even the logger fails, standard error is told.
  if (done == nullptr) {
    PyErr_WriteUnraisable(value);
  }
  Py_XDECREF(done);
  Py_XDECREF(package);
  Py_XDECREF(type);
  Py_XDECREF(value);
  Py_XDECREF(traceback);
}

void release(PyObject* object) {
  const bindings::Gate::Entry entry;
  if (!entry) return;
  const Locked locked;
  Py_DECREF(object);
}

void Call::run() {
  const Locked locked;
  PyObject* const result = PyObject_CallNoArgs(callable_);
  if (result == nullptr) logException("task");
  Py_XDECREF(result);
}

}  // namespace lumora::python

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

/// The calls of the library in which the thread is, and whether Ctrl-C has ended a callback meanwhile.
thread_local int depthOfCalls = 0;
thread_local bool isInterrupted = false;

}  // namespace

// Only the thread that ends the interpreter comes here then.
Unlocked::Unlocked() : state_(isFinalizing() ? nullptr : PyEval_SaveThread()) {
  ++depthOfCalls;
}

void Unlocked::end() {
  if (std::exchange(hasEnded_, true)) return;
  --depthOfCalls;
  if (state_ == nullptr) return;
  while (isFinalizing()) pause();
  PyEval_RestoreThread(state_);
  // Not before: it would end every other callback that is still to come.
  if (depthOfCalls == 0 && std::exchange(isInterrupted, false)) PyErr_SetInterrupt();
}

void logException(const char* where) {
  const auto noteInterrupt = [] {
    if (depthOfCalls > 0 && PyErr_ExceptionMatches(PyExc_KeyboardInterrupt)) isInterrupted = true;
  };
  noteInterrupt();
  PyObject *type = nullptr, *value = nullptr, *traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  PyErr_NormalizeException(&type, &value, &traceback);
  if (traceback != nullptr) PyException_SetTraceback(value, traceback);
  PyObject* const package = PyImport_ImportModule("lumora._platform");
  PyObject* const done =
      package == nullptr ? nullptr : PyObject_CallMethod(package, "log_exception", "sO", where, value);
  Py_XDECREF(package);
  if (done != nullptr) {
    Py_DECREF(done);
    Py_XDECREF(type);
    Py_XDECREF(value);
    Py_XDECREF(traceback);
    return;
  }
  // Where even the logger fails, standard error is told.
  noteInterrupt();
  PyErr_Restore(type, value, traceback);
  PyErr_WriteUnraisable(nullptr);
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

#pragma once

#include <Python.h>

#include <memory>

#include "bindings/Callbacks.h"

/// The interpreter's lock, its end, and what the library holds of it.
namespace lumora::python {

/// Takes the interpreter's lock on any thread, for the length of a scope.
class Locked {
 public:
  Locked() : state_(PyGILState_Ensure()) {}
  ~Locked() { end(); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
  void end() {
    if (isLocked_) PyGILState_Release(state_);
    isLocked_ = false;
  }

 private:
  PyGILState_STATE state_;
  bool isLocked_ = true;
};

/// Gives the lock away while the library is called. A thread that comes back when the interpreter has ended
/// rests until the process is gone: the interpreter would end it in the middle of its C++ functions. The one
/// that ends the interpreter keeps the lock.
class Unlocked {
 public:
  Unlocked();
  ~Unlocked() { end(); }
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;
  void end();

 private:
  PyThreadState* const state_;
  bool hasEnded_ = false;
};

/// Writes the exception that is set to the logger "lumora". Ctrl-C is raised again once the thread's call of
/// the library has returned to Python, whoever's callbacks it still runs.
void logException(const char* where);

/// Lets go of an object on any thread; when the interpreter has ended the object stays.
void release(PyObject* object);

/// A callback that keeps its Python object.
template <typename Callback>
std::shared_ptr<Callback> held(PyObject* object, Callback* callback) {
  Py_INCREF(object);
  return std::shared_ptr<Callback>(callback, [object](Callback*) { release(object); });
}

/// Calls a callable without arguments.
class Call : public bindings::Runnable {
 public:
  explicit Call(PyObject* callable) : callable_(callable) { Py_INCREF(callable); }
  ~Call() override { release(callable_); }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  void run() override;

 private:
  PyObject* const callable_;
};

}  // namespace lumora::python

// What SWIG puts around every call, and around every callback.
#define SWIG_PYTHON_NO_USE_GIL
#define SWIG_PYTHON_THREAD_BEGIN_BLOCK lumora::python::Locked swigLocked
#define SWIG_PYTHON_THREAD_END_BLOCK swigLocked.end()
#define SWIG_PYTHON_THREAD_BEGIN_ALLOW lumora::python::Unlocked swigUnlocked
#define SWIG_PYTHON_THREAD_END_ALLOW swigUnlocked.end()

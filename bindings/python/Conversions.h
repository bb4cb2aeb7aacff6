#pragma once

#include <Python.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Value.h"

/// Python's objects as the library's values, and back. To be called with the interpreter's lock held.
///
/// `fromPython` gives false, with an exception set, for an object of another kind or a text that is not UTF-8
/// (a lone surrogate). `toPython` gives a new reference, or null with an exception set.
namespace lumora::python {

using TextMap = std::map<std::string, std::string, std::less<>>;

bool fromPython(PyObject* object, std::string& text);
/// The view lives as long as the object.
bool fromPython(PyObject* object, std::string_view& text);
bool fromPython(PyObject* object, Value& value);
/// A number, or none.
bool numberFromPython(PyObject* object, Value& number);
bool fromPython(PyObject* object, Dictionary& map);
bool fromPython(PyObject* object, Data& data);
bool fromPython(PyObject* object, Date& date);
/// Seconds, or a timedelta.
bool fromPython(PyObject* object, std::chrono::milliseconds& duration);
bool fromPython(PyObject* object, TextMap& texts);
bool fromPython(PyObject* object, std::vector<std::string>& texts);

PyObject* toPython(std::string_view text);
PyObject* toPython(const std::string& text);
PyObject* toPython(std::size_t number);
PyObject* toPython(const Value& value);
PyObject* toPython(const Dictionary& map);
PyObject* toPython(const Data& data);
PyObject* toPython(Date date);
PyObject* toPython(std::chrono::milliseconds duration);
PyObject* toPython(const TextMap& texts);
PyObject* toPython(const std::vector<std::string>& texts);
/// The member of one of the package's enumerations.
PyObject* enumMember(const char* enumeration, int value);
/// The number of one; false, with an exception, for what is none.
bool fromEnumMember(const char* enumeration, PyObject* member, int& value);

template <typename T>
bool fromPython(PyObject* object, std::optional<T>& value) {
  value.reset();
  return object == Py_None || fromPython(object, value.emplace());
}

template <typename T>
PyObject* toPython(const std::optional<T>& value) {
  if (!value) Py_RETURN_NONE;
  return toPython(*value);
}

}  // namespace lumora::python

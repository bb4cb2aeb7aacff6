// Python's objects as the library's values, and back.
#include "bindings/python/Conversions.h"

#include <datetime.h>

#include <cmath>
#include <limits>

namespace lumora::python {
namespace {

// A reference that ends with the scope.
class Owned {
 public:
  explicit Owned(PyObject* object) : object_(object) {}
  ~Owned() { Py_XDECREF(object_); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  PyObject* get() const { return object_; }
  PyObject* release() { return std::exchange(object_, nullptr); }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  PyObject* object_;
};

/// A list or a map inside of which the thread is. They may be as deep as an event can hold them, and so may
/// not hold themselves: the interpreter's own limit is the host's to set, and the stack ends where it ends.
class Level {
 public:
  Level() { ++depth_; }
  ~Level() { --depth_; }
  Level(const Level&) = delete;
  Level& operator=(const Level&) = delete;
  explicit operator bool() const {
    if (depth_ > kDeepest) {
      PyErr_Format(PyExc_ValueError, "a value holds itself, or is nested deeper than %d", kDeepest);
    }
    return depth_ <= kDeepest;
  }

 private:
  static constexpr int kDeepest = 511;
  static inline thread_local int depth_ = 0;
};

bool refuse(PyObject* object, const char* wanted) {
  PyErr_Format(PyExc_TypeError, "%s is wanted, not %s", wanted, Py_TYPE(object)->tp_name);
  return false;
}

bool isReady() {
  if (PyDateTimeAPI == nullptr) PyDateTime_IMPORT;
  return PyDateTimeAPI != nullptr;
}

bool integerFrom(PyObject* object, Value& value) {
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow == 0) {
    value = number;
    return number != -1 || PyErr_Occurred() == nullptr;
  }
  const unsigned long long large = overflow > 0 ? PyLong_AsUnsignedLongLong(object) : 0;
  if (overflow < 0 || PyErr_Occurred() != nullptr) {
    PyErr_SetString(PyExc_OverflowError, "the int does not fit into 64 bits");
    return false;
  }
  value = large;
  return true;
}

bool listFrom(PyObject* object, Value& value) {
  const Level level;
  if (!level) return false;
  // A copy: what the conversion calls might change the list.
  const Owned items(PySequence_Tuple(object));
  if (!items) return false;
  List list(static_cast<std::size_t>(PyTuple_GET_SIZE(items.get())));
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (!fromPython(PyTuple_GET_ITEM(items.get(), static_cast<Py_ssize_t>(i)), list[i])) return false;
  }
  value = Value(std::move(list));
  return true;
}

PyObject* listOf(const List& list) {
  Owned made(PyList_New(static_cast<Py_ssize_t>(list.size())));
  for (std::size_t i = 0; made && i < list.size(); ++i) {
    PyObject* const item = toPython(list[i]);
    if (item == nullptr) return nullptr;
    PyList_SET_ITEM(made.get(), static_cast<Py_ssize_t>(i), item);
  }
  return made.release();
}

template <typename Map>
PyObject* dictOf(const Map& map) {
  Owned made(PyDict_New());
  for (const auto& [key, value] : map) {
    const Owned name(toPython(key));
    const Owned item(name ? toPython(value) : nullptr);
    if (!item || PyDict_SetItem(made.get(), name.get(), item.get()) != 0) return nullptr;
  }
  return made.release();
}

PyObject* numberOf(const Value& value) {
  if (value.isBoolean()) return PyBool_FromLong(value.boolValue() ? 1 : 0);
  if (value.isFloatingPoint()) return PyFloat_FromDouble(value.doubleValue());
  if (value.numberKind() != Value::NumberKind::unsignedLongLong)
    return PyLong_FromLongLong(value.integerValue());
  return PyLong_FromString(value.description().c_str(), nullptr, 10);
}

}  // namespace

bool fromPython(PyObject* object, std::string_view& text) {
  if (!PyUnicode_Check(object)) return refuse(object, "str");
  Py_ssize_t size = 0;
  const char* const bytes = PyUnicode_AsUTF8AndSize(object, &size);
  if (bytes != nullptr) text = std::string_view(bytes, static_cast<std::size_t>(size));
  return bytes != nullptr;
}

bool fromPython(PyObject* object, std::string& text) {
  std::string_view view;
  const bool isGood = fromPython(object, view);
  text = view;
  return isGood;
}

bool fromPython(PyObject* object, Data& data) {
  if (!PyObject_CheckBuffer(object)) return refuse(object, "bytes");
  Py_buffer buffer;
  if (PyObject_GetBuffer(object, &buffer, PyBUF_SIMPLE) != 0) return false;
  const auto* const bytes = static_cast<const std::uint8_t*>(buffer.buf);
  data.assign(bytes, bytes + buffer.len);
  PyBuffer_Release(&buffer);
  return true;
}

bool fromPython(PyObject* object, std::chrono::milliseconds& duration) {
  if (!isReady()) return false;
  const Owned number(PyDelta_Check(object) ? PyObject_CallMethod(object, "total_seconds", nullptr)
                                           : Py_NewRef(object));
  const double seconds = number ? PyFloat_AsDouble(number.get()) : 0;
  if (PyErr_Occurred() != nullptr) return false;
  // More than the library's clocks count stands for "without end".
  constexpr double longest = 1e9;
  if (std::isnan(seconds)) {
    PyErr_SetString(PyExc_ValueError, "a time cannot be NaN");
    return false;
  }
  duration = std::chrono::milliseconds(std::llround(std::min(std::max(seconds, 0.0), longest) * 1000));
  return true;
}

bool fromPython(PyObject* object, Date& date) {
  if (!isReady()) return false;
  if (!PyDateTime_Check(object)) return refuse(object, "datetime");
  if (PyDateTime_DATE_GET_TZINFO(object) == Py_None) {
    PyErr_SetString(PyExc_ValueError, "the datetime has no time zone; datetime.now(timezone.utc) has");
    return false;
  }
  const Owned epoch(PyDateTimeAPI->DateTime_FromDateAndTime(1970, 1, 1, 0, 0, 0, 0, PyDateTime_TimeZone_UTC,
                                                            PyDateTimeAPI->DateTimeType));
  const Owned passed(epoch ? PyNumber_Subtract(object, epoch.get()) : nullptr);
  if (!passed) return false;
  const std::chrono::sys_days day{std::chrono::days(PyDateTime_DELTA_GET_DAYS(passed.get()))};
  if (const auto year = std::chrono::year_month_day(day).year();
      year < std::chrono::year(1) || year > std::chrono::year(9999)) {
    PyErr_SetString(PyExc_ValueError, "the datetime is beyond the years 1 to 9999 in UTC");
    return false;
  }
  date = day + std::chrono::seconds(PyDateTime_DELTA_GET_SECONDS(passed.get())) +
         std::chrono::microseconds(PyDateTime_DELTA_GET_MICROSECONDS(passed.get()));
  return true;
}

bool fromPython(PyObject* object, Value& value) {
  if (object == Py_None) {
    value = Value();
  } else if (PyBool_Check(object)) {
    value = object == Py_True;
  } else if (PyLong_Check(object)) {
    return integerFrom(object, value);
  } else if (PyFloat_Check(object)) {
    value = PyFloat_AS_DOUBLE(object);
  } else if (PyUnicode_Check(object)) {
    std::string text;
    if (!fromPython(object, text)) return false;
    value = Value(std::move(text));
  } else if (PyDict_Check(object)) {
    Dictionary map;
    if (!fromPython(object, map)) return false;
    value = Value(std::move(map));
  } else if (PyList_Check(object) || PyTuple_Check(object)) {
    return listFrom(object, value);
  } else if (PyBytes_Check(object) || PyByteArray_Check(object) || PyMemoryView_Check(object)) {
    Data data;
    if (!fromPython(object, data)) return false;
    value = Value(std::move(data));
  } else if (isReady() && PyDateTime_Check(object)) {
    Date date;
    if (!fromPython(object, date)) return false;
    value = date;
  } else {
    return refuse(object, "None, bool, int, float, str, bytes, datetime, list or dict");
  }
  return true;
}

bool numberFromPython(PyObject* object, Value& number) {
  if (object != Py_None && !PyLong_Check(object) && !PyFloat_Check(object)) {
    return refuse(object, "a number or None");
  }
  return fromPython(object, number);
}

bool fromPython(PyObject* object, Dictionary& map) {
  if (!PyDict_Check(object)) return refuse(object, "dict");
  const Level level;
  if (!level) return false;
  PyObject *key = nullptr, *item = nullptr;
  Py_ssize_t place = 0;
  // A copy: what the conversion calls might change the dict.
  const Owned items(PyDict_Copy(object));
  while (items && PyDict_Next(items.get(), &place, &key, &item)) {
    std::string name;
    Value value;
    if (!fromPython(key, name) || !fromPython(item, value)) return false;
    map.insert_or_assign(std::move(name), std::move(value));
  }
  return static_cast<bool>(items);
}

bool fromPython(PyObject* object, TextMap& texts) {
  texts.clear();
  Dictionary map;
  if (!fromPython(object, map)) return false;
  for (const auto& [key, value] : map) {
    const std::string* const text = value.asString();
    if (text == nullptr) {
      PyErr_Format(PyExc_TypeError, "the value of \"%s\" is no str", key.c_str());
      return false;
    }
    texts.emplace(key, *text);
  }
  return true;
}

bool fromPython(PyObject* object, std::vector<std::string>& texts) {
  texts.clear();
  const Owned items(PyUnicode_Check(object) ? nullptr : PySequence_Tuple(object));
  if (!items) return PyErr_Occurred() == nullptr ? refuse(object, "a list of str") : false;
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(items.get()); ++i) {
    if (!fromPython(PyTuple_GET_ITEM(items.get(), i), texts.emplace_back())) return false;
  }
  return true;
}

PyObject* toPython(std::string_view text) {
  return PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
}

PyObject* toPython(const std::string& text) {
  return toPython(std::string_view(text));
}

PyObject* toPython(std::size_t number) {
  return PyLong_FromSize_t(number);
}

PyObject* toPython(const Data& data) {
  return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(data.data()),
                                   static_cast<Py_ssize_t>(data.size()));
}

PyObject* toPython(std::chrono::milliseconds duration) {
  if (!isReady()) return nullptr;
  const auto days = std::chrono::floor<std::chrono::days>(duration);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(duration - days);
  const std::chrono::microseconds rest = duration - days - seconds;
  return PyDelta_FromDSU(static_cast<int>(days.count()), static_cast<int>(seconds.count()),
                         static_cast<int>(rest.count()));
}

PyObject* toPython(Date date) {
  if (!isReady()) return nullptr;
  const auto day = std::chrono::floor<std::chrono::days>(date);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(date - day);
  return PyDateTimeAPI->DateTime_FromDateAndTime(
      static_cast<int>(calendar.year()), static_cast<int>(static_cast<unsigned>(calendar.month())),
      static_cast<int>(static_cast<unsigned>(calendar.day())), static_cast<int>(time.hours().count()),
      static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
      static_cast<int>(time.subseconds().count()), PyDateTime_TimeZone_UTC, PyDateTimeAPI->DateTimeType);
}

PyObject* toPython(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::null:
      Py_RETURN_NONE;
    case Value::Kind::number:
      return numberOf(value);
    case Value::Kind::string:
      return toPython(*value.asString());
    case Value::Kind::data:
      return toPython(*value.asData());
    case Value::Kind::date:
      return toPython(*value.asDate());
    case Value::Kind::url:
      return toPython(value.asURL()->absoluteString());
    case Value::Kind::list:
      return listOf(*value.asList());
    case Value::Kind::map:
      return value.asDictionary() != nullptr ? dictOf(*value.asDictionary()) : dictOf(*value.asMixedMap());
    case Value::Kind::opaque:
      break;
  }
  return toPython(value.description());
}

PyObject* toPython(const Dictionary& map) {
  return dictOf(map);
}

PyObject* toPython(const TextMap& texts) {
  return dictOf(texts);
}

PyObject* toPython(const std::vector<std::string>& texts) {
  return listOf(List(texts.begin(), texts.end()));
}

PyObject* enumMember(const char* enumeration, int value) {
  const Owned package(PyImport_ImportModule("lumora._enums"));
  return package ? PyObject_CallMethod(package.get(), enumeration, "i", value) : nullptr;
}

bool fromEnumMember(const char* enumeration, PyObject* member, int& value) {
  const Owned package(PyImport_ImportModule("lumora._enums"));
  const Owned checked(package ? PyObject_CallMethod(package.get(), enumeration, "O", member) : nullptr);
  if (checked) value = static_cast<int>(PyLong_AsLong(checked.get()));
  return static_cast<bool>(checked);
}

}  // namespace lumora::python

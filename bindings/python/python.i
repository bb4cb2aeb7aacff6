// Python: names, the interpreter's lock, and every typemap.
%begin %{
#define PY_SSIZE_T_CLEAN
#include "bindings/python/Conversions.h"
#include "bindings/python/Interpreter.h"
%}

%feature("flatnested");
%feature("compactdefaultargs") lumora::Lumora::initializeWithTarrowID;
%feature("compactdefaultargs") lumora::Lumora::setTrackingConsent;
%feature("compactdefaultargs") lumora::Lumora::reportAction;
%feature("compactdefaultargs") lumora::Lumora::notificationTapped;
%ignore lumora::LumoraKeeper::LumoraKeeper();
%feature("compactdefaultargs") lumora::LumoraKeeper::LumoraKeeper;
%feature("compactdefaultargs") lumora::Alert::press;
%rename("%(undercase)s", %$isfunction) "";
%rename("%(undercase)s", %$isvariable) "";
%rename(set_url_opener) lumora::LinuxPlatformOptions::setURLOpener;
#pragma SWIG nowarn=321

%feature("director:except") {
  if ($error != nullptr) {
    lumora::python::logException("$symname");
    // Where an answer is asked for it is no.
    Py_INCREF(Py_False);
    result = Py_False;
  }
}

// A type that crosses as a Python object of its own, converted by the functions of Conversions.h.
%define %lumora_converted(TYPE)
%typemap(in) TYPE (TYPE converted) {
  if (!lumora::python::fromPython($input, converted)) SWIG_fail;
  $1 = std::move(converted);
}
%typemap(in) const TYPE & (TYPE converted) {
  if (!lumora::python::fromPython($input, converted)) SWIG_fail;
  $1 = &converted;
}
%typemap(freearg) TYPE, const TYPE & ""
%typemap(out) TYPE {
  $result = lumora::python::toPython(static_cast<const TYPE&>($1));
  if ($result == nullptr) SWIG_fail;
}
%typemap(out) const TYPE & {
  $result = lumora::python::toPython(*$1);
  if ($result == nullptr) SWIG_fail;
}
%typemap(directorin) TYPE, const TYPE & "$input = lumora::python::toPython($1);"
%enddef

%lumora_converted(std::string)
%lumora_converted(std::string_view)
%lumora_converted(lumora::Value)
%lumora_converted(lumora::Dictionary)
%lumora_converted(lumora::Data)
%lumora_converted(lumora::Date)
%lumora_converted(std::chrono::milliseconds)
%lumora_converted(std::optional<std::string>)
%lumora_converted(std::optional<std::string_view>)
%lumora_converted(std::optional<lumora::Dictionary>)
%lumora_converted(std::optional<lumora::Data>)
%lumora_converted(std::optional<lumora::Date>)
%lumora_converted(std::optional<std::size_t>)
%lumora_converted(std::vector<std::string>)
%lumora_converted(%arg(std::map<std::string, std::string, std::less<>>))

%typemap(in) const lumora::Value & number (lumora::Value converted) {
  if (!lumora::python::numberFromPython($input, converted)) SWIG_fail;
  $1 = &converted;
}

// An operation for the main thread alone.
%define %lumora_main_thread(OPERATION, CONDITION)
%exception OPERATION {
  if (!(CONDITION)) SWIG_exception_fail(SWIG_RuntimeError, lumora::bindings::kOnlyMainThread);
  $action
}
%enddef

%define %lumora_enum(TYPE, NAME)
%typemap(in) TYPE (int value) {
  if (!lumora::python::fromEnumMember(#NAME, $input, value)) SWIG_fail;
  $1 = static_cast<TYPE>(value);
}
%typemap(out) TYPE {
  $result = lumora::python::enumMember(#NAME, static_cast<int>($1));
  if ($result == nullptr) SWIG_fail;
}
%typemap(directorin) TYPE "$input = lumora::python::enumMember(\"NAME\", static_cast<int>($1));"
%enddef

// A record that is copied on its way to the host.
%define %lumora_record(TYPE)
%typemap(out) const TYPE & {
  $result = SWIG_NewPointerObj(new TYPE(*$1), $descriptor(TYPE *), SWIG_POINTER_OWN);
}
%typemap(directorin) const TYPE & {
  $input = SWIG_NewPointerObj(new TYPE($1), $descriptor(TYPE *), SWIG_POINTER_OWN);
}
%enddef
%define %lumora_optional_record(TYPE)
%typemap(out) const std::optional<TYPE> & {
  if (*$1) {
    $result = SWIG_NewPointerObj(new TYPE(**$1), $descriptor(TYPE *), SWIG_POINTER_OWN);
  } else {
    $result = SWIG_Py_Void();
  }
}
%enddef

// A class that the host derives. The library's share of an object keeps the object.
%define %lumora_callback(TYPE)
%feature("director") TYPE;
%typemap(in) std::shared_ptr<TYPE> {
  $1 = std::shared_ptr<TYPE>();
  void* found = nullptr;
  if ($input != Py_None) {
    const int result = SWIG_ConvertPtr($input, &found, $descriptor(TYPE *), 0);
    if (!SWIG_IsOK(result)) {
      SWIG_exception_fail(SWIG_ArgError(result), "a " #TYPE " is wanted, with its __init__ called");
    }
    $1 = lumora::python::held($input, static_cast<TYPE*>(found));
  }
}
%enddef

// Any callable is a task.
%define %lumora_task(TYPE)
%ignore TYPE;
%typemap(in) std::shared_ptr<TYPE> {
  $1 = std::shared_ptr<TYPE>();
  if ($input != Py_None) {
    if (!PyCallable_Check($input)) SWIG_exception_fail(SWIG_TypeError, "a callable is wanted");
    $1 = std::make_shared<lumora::python::Call>($input);
  }
}
%enddef

%extend lumora::LumoraKeeper {
%pythoncode %{
    def close(self):
        """Ends it; the end of a with statement does that too."""
        if self.thisown:
            _lumora.delete_LumoraKeeper(self)

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()
%}
}

// Java: names, and every typemap. Values cross as arrays of bytes, as bindings/Packed.h tells.
%begin %{
#include "bindings/Packed.h"
#include "bindings/java/Machine.h"
#define SWIG_JAVA_ATTACH_CURRENT_THREAD_AS_DAEMON
%}
%include <typemaps/swigmacros.swg>
%include "enums.swg"
#pragma SWIG nowarn=503,516,822

%rename(getActionMetadata) lumora::LumoraActionMetaData::actionMetadata;
%rename(getUserAttributes) lumora::LumoraLead::userAttributes;
%rename(NativePlatform) lumora::LinuxPlatform;
%rename(NativeOptions) lumora::LinuxPlatformOptions;
%rename(NativeDisplay) lumora::bindings::MessageDisplay;
%rename(setNativeURLOpener) lumora::LinuxPlatformOptions::setURLOpener;
%rename(setNativeAlertPresenter) lumora::LinuxPlatformOptions::setAlertPresenter;
%rename(setNativeNotificationScheduler) lumora::LinuxPlatformOptions::setNotificationScheduler;

%pragma(java) jniclasscode=%{
  static {
    NativeLibrary.load();
  }
%}
%pragma(java) jniclassclassmodifiers="class"
%pragma(java) moduleclassmodifiers="class"

// What only the classes written by hand use.
%define %lumora_internal(TYPE)
%typemap(javaclassmodifiers) TYPE "class"
%enddef
%lumora_internal(lumora::LinuxPlatform)
%lumora_internal(lumora::MessageScreens)
%lumora_internal(lumora::bindings::LogWriter)
%lumora_internal(lumora::bindings::URLOpener)
%lumora_internal(lumora::bindings::AlertPresenter)
%lumora_internal(lumora::bindings::NotificationScheduler)
%lumora_internal(lumora::bindings::MessageDisplay)
%lumora_internal(lumora::bindings::Completion)

%feature("director:except") {
  if (const jthrowable thrown = jenv->ExceptionOccurred()) lumora::java::logException(jenv, thrown, "$symname");
}

%typemap(javainterfaces) lumora::LumoraKeeper "AutoCloseable"
%typemap(javacode) lumora::LumoraKeeper %{
  /** Ends it. */
  @Override
  public void close() {
    delete();
  }
%}

%apply long long { unsigned long long, uint64_t, std::uint64_t, std::size_t, size_t };

%define %lumora_converted(TYPE, JAVA, CLASS, PACK, READ)
%typemap(jni) TYPE, const TYPE & "jbyteArray"
%typemap(jtype) TYPE, const TYPE & "byte[]"
%typemap(jstype) TYPE, const TYPE & "JAVA"
%typemap(javain) TYPE, const TYPE & "Packed.PACK($javainput)"
%typemap(javaout) TYPE, const TYPE & {
    return Packed.READ($jnicall);
  }
%typemap(in) TYPE (lumora::Value value, TYPE converted) {
  value = lumora::java::valueOf(jenv, $input);
  lumora::bindings::read(value, converted);
  $1 = std::move(converted);
}
%typemap(in) const TYPE & (lumora::Value value, TYPE converted) {
  value = lumora::java::valueOf(jenv, $input);
  lumora::bindings::read(value, converted);
  $1 = &converted;
}
%typemap(freearg) TYPE, const TYPE & ""
%typemap(out) TYPE "$result = lumora::java::arrayOf(jenv, lumora::bindings::valueOf(static_cast<const TYPE&>($1)));"
%typemap(out) const TYPE & "$result = lumora::java::arrayOf(jenv, lumora::bindings::valueOf(*$1));"
%typemap(directorin, descriptor="CLASS") TYPE, const TYPE & %{
  $input = lumora::java::arrayOf(jenv, lumora::bindings::valueOf($1));
  const Swig::LocalRefGuard $1_guard(jenv, $input);
%}
%typemap(javadirectorin) TYPE, const TYPE & "Packed.READ($jniinput)"
%enddef

%lumora_converted(std::string, String, Ljava/lang/String;, required, read)
%lumora_converted(std::string_view, String, Ljava/lang/String;, required, read)
%lumora_converted(lumora::Value, Object, Ljava/lang/Object;, of, read)
%lumora_converted(lumora::Dictionary, %arg(java.util.Map<String, Object>), Ljava/util/Map;, required, read)
%lumora_converted(lumora::Data, byte[], [B, required, read)
%lumora_converted(lumora::Date, java.time.Instant, Ljava/time/Instant;, required, read)
%lumora_converted(std::chrono::milliseconds, java.time.Duration, Ljava/time/Duration;, duration, readDuration)
%lumora_converted(std::optional<std::string>, String, Ljava/lang/String;, of, read)
%lumora_converted(std::optional<std::string_view>, String, Ljava/lang/String;, of, read)
%lumora_converted(std::optional<lumora::Dictionary>, %arg(java.util.Map<String, Object>), Ljava/util/Map;, of, read)
%lumora_converted(std::optional<lumora::Data>, byte[], [B, of, read)
%lumora_converted(std::optional<lumora::Date>, java.time.Instant, Ljava/time/Instant;, of, read)
%lumora_converted(std::optional<std::size_t>, Long, Ljava/lang/Long;, of, read)
%lumora_converted(std::vector<std::string>, java.util.List<String>, Ljava/util/List;, required, read)
%lumora_converted(%arg(std::map<std::string, std::string, std::less<>>), %arg(java.util.Map<String, String>), Ljava/util/Map;, required, read)

%typemap(jstype) const lumora::Value & number "Number"
%typemap(javain) const lumora::Value & number "Packed.of($javainput)"

%define %lumora_enum(TYPE, NAME)
%enddef

%typemap(in) const SWIGTYPE & {
  $1 = *($&1_ltype)&$input;
  if ($1 == nullptr) {
    SWIG_JavaThrowException(jenv, SWIG_JavaNullPointerException, "$1_name is null");
    return $null;
  }
}

// An operation for the main thread alone.
%define %lumora_main_thread(OPERATION, CONDITION)
%exception OPERATION {
  if (!(CONDITION)) {
    SWIG_JavaThrowException(jenv, SWIG_JavaIllegalStateException, lumora::bindings::kOnlyMainThread);
    return $null;
  }
  $action
}
%enddef

// A record that is copied on its way to the host.
%define %lumora_record(TYPE)
%typemap(out) const TYPE & "*(TYPE**)&$result = new TYPE(*$1);"
%typemap(javaout) const TYPE & {
    return new $javaclassname($jnicall, true);
  }
%typemap(directorin, descriptor="L$packagepath/$javaclassname;") const TYPE & "*(TYPE**)&$input = new TYPE($1);"
%typemap(javadirectorin) const TYPE & "new $javaclassname($jniinput, true)"
%enddef
%define %lumora_optional_record(TYPE)
%typemap(jni) const std::optional<TYPE> & "jlong"
%typemap(jtype) const std::optional<TYPE> & "long"
%typemap(jstype) const std::optional<TYPE> & "$typemap(jstype, TYPE)"
%typemap(out) const std::optional<TYPE> & "if (*$1) *(TYPE**)&$result = new TYPE(**$1);"
%typemap(javaout) const std::optional<TYPE> & {
    long cPtr = $jnicall;
    return cPtr == 0 ? null : new $typemap(jstype, TYPE)(cPtr, true);
  }
%enddef

// A class that the host derives. The library's share of an object keeps the object.
%define %lumora_callback(TYPE)
%feature("director") TYPE;
%typemap(jni) std::shared_ptr<TYPE> "jlong"
%typemap(jtype) std::shared_ptr<TYPE> "long"
%typemap(jstype) std::shared_ptr<TYPE> "$typemap(jstype, TYPE)"
%typemap(javain) std::shared_ptr<TYPE> "$typemap(jstype, TYPE).getCPtr($javainput)"
%typemap(in) std::shared_ptr<TYPE> {
  $1 = std::shared_ptr<TYPE>();
  TYPE* const callback = *(TYPE**)&$input;
  if (callback != nullptr) $1 = lumora::java::held(jenv, callback, dynamic_cast<const Swig::Director&>(*callback));
}
%enddef

// Any Runnable is a task.
%define %lumora_task(TYPE)
%ignore TYPE;
%typemap(jni) std::shared_ptr<TYPE> "jobject"
%typemap(jtype) std::shared_ptr<TYPE> "Runnable"
%typemap(jstype) std::shared_ptr<TYPE> "Runnable"
%typemap(javain) std::shared_ptr<TYPE> "$javainput"
%typemap(in) std::shared_ptr<TYPE> {
  $1 = $input == nullptr ? nullptr : std::make_shared<lumora::java::Call>(jenv, $input);
}
%enddef

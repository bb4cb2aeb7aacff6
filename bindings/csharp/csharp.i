// C#: names, and every typemap. Values cross as arrays of bytes, as bindings/Packed.h tells.
%begin %{
#include "bindings/Packed.h"
#include "bindings/csharp/Runtime.h"
%}
#pragma SWIG nowarn=503,516,833

%rename("%(camelcase)s", %$isfunction) "";
%rename("%(camelcase)s", %$isvariable) "";
%rename("%(camelcase)s", %$isenumitem) "";
%rename(NativePlatform) lumora::LinuxPlatform;
%rename(NativeOptions) lumora::LinuxPlatformOptions;
%rename(NativeDisplay) lumora::bindings::MessageDisplay;
%rename(SetNativeURLOpener) lumora::LinuxPlatformOptions::setURLOpener;
%rename(SetNativeAlertPresenter) lumora::LinuxPlatformOptions::setAlertPresenter;
%rename(SetNativeNotificationScheduler) lumora::LinuxPlatformOptions::setNotificationScheduler;

// A property has the other name.
%rename(ErrorReason) lumora::LumoraError::Reason;
%pragma(csharp) moduleclassmodifiers="internal class"
%apply long long { unsigned long long, uint64_t, std::uint64_t, std::size_t, size_t };

// What only the classes written by hand use.
%define %lumora_internal(TYPE)
%typemap(csclassmodifiers) TYPE "internal class"
%enddef
%lumora_internal(lumora::LinuxPlatform)
%lumora_internal(lumora::MessageScreens)
%lumora_internal(lumora::bindings::LogWriter)
%lumora_internal(lumora::bindings::URLOpener)
%lumora_internal(lumora::bindings::AlertPresenter)
%lumora_internal(lumora::bindings::NotificationScheduler)
%lumora_internal(lumora::bindings::MessageDisplay)
%lumora_internal(lumora::bindings::Completion)
%csmethodmodifiers lumora::LinuxPlatformOptions::setLogWriter "internal";
%csmethodmodifiers lumora::LinuxPlatformOptions::setURLOpener "internal";
%csmethodmodifiers lumora::LinuxPlatformOptions::setAlertPresenter "internal";
%csmethodmodifiers lumora::LinuxPlatformOptions::setNotificationScheduler "internal";
%csmethodmodifiers lumora::LinuxPlatformOptions::setMessageScreens "internal";

%define %lumora_converted(TYPE, CS, PACK, READ)
%typemap(ctype) TYPE, const TYPE & "const void*"
%typemap(imtype, out="global::System.IntPtr") TYPE, const TYPE & "byte[]"
%typemap(cstype) TYPE, const TYPE & "CS"
%typemap(csin) TYPE, const TYPE & "Packed.PACK($csinput)"
%typemap(csout, excode=SWIGEXCODE) TYPE, const TYPE & {
    var packed = $imcall;$excode
    return Packed.READ(packed);
  }
%typemap(csvarin, excode=SWIGEXCODE2) TYPE, const TYPE & %{
    set {
      $imcall;$excode
    } %}
%typemap(csvarout, excode=SWIGEXCODE2) TYPE, const TYPE & %{
    get {
      var packed = $imcall;$excode
      return Packed.READ(packed);
    } %}
%typemap(in) TYPE (lumora::Value value, TYPE converted) {
  value = lumora::bindings::unpacked($input);
  lumora::bindings::read(value, converted);
  $1 = std::move(converted);
}
%typemap(in) const TYPE & (lumora::Value value, TYPE converted) {
  value = lumora::bindings::unpacked($input);
  lumora::bindings::read(value, converted);
  $1 = &converted;
}
%typemap(freearg) TYPE, const TYPE & ""
%typemap(out, null="nullptr") TYPE "$result = lumora::csharp::lastingBytes(lumora::bindings::valueOf(static_cast<const TYPE&>($1)));"
%typemap(out, null="nullptr") const TYPE & "$result = lumora::csharp::lastingBytes(lumora::bindings::valueOf(*$1));"
%typemap(directorin) TYPE, const TYPE & "$input = lumora::csharp::lastingBytes(lumora::bindings::valueOf($1));"
%typemap(csdirectorin) TYPE, const TYPE & "Packed.READ($iminput)"
%enddef

%lumora_converted(std::string, string, Required, Read<string>)
%lumora_converted(std::string_view, string, Required, Read<string>)
%lumora_converted(lumora::Value, object, Of, Read<object>)
%lumora_converted(lumora::Dictionary, %arg(IDictionary<string, object>), Required, %arg(Read<IDictionary<string, object>>))
%lumora_converted(lumora::Data, byte[], Required, Read<byte[]>)
%lumora_converted(lumora::Date, DateTimeOffset, Of, Read<DateTimeOffset>)
%lumora_converted(std::chrono::milliseconds, TimeSpan, Duration, ReadDuration)
%lumora_converted(std::optional<std::string>, string, Of, Read<string>)
%lumora_converted(std::optional<std::string_view>, string, Of, Read<string>)
%lumora_converted(std::optional<lumora::Dictionary>, %arg(IDictionary<string, object>), Of, %arg(Read<IDictionary<string, object>>))
%lumora_converted(std::optional<lumora::Data>, byte[], Of, Read<byte[]>)
%lumora_converted(std::optional<lumora::Date>, DateTimeOffset?, Of, Read<DateTimeOffset?>)
%lumora_converted(std::optional<std::size_t>, long?, Of, Read<long?>)
%lumora_converted(std::vector<std::string>, IList<string>, Required, ReadTexts)
%lumora_converted(%arg(std::map<std::string, std::string, std::less<>>), %arg(IDictionary<string, string>), Required, ReadTextMap)

// What the library gives to a class that the host derives comes as an address. Its own operations, which do nothing,
// are given nothing.
%define %lumora_given(TYPE)
%typemap(imtype) const TYPE & "global::System.IntPtr"
%typemap(csin) const TYPE & "global::System.IntPtr.Zero"
%enddef
%define %lumora_callbacks_begin
%lumora_given(std::string)
%lumora_given(lumora::Dictionary)
%enddef

%define %lumora_taken(TYPE)
%typemap(imtype, out="global::System.IntPtr") const TYPE & "byte[]"
%typemap(csin) const TYPE & "Packed.Required($csinput)"
%enddef
%define %lumora_callbacks_end
%lumora_taken(std::string)
%lumora_taken(lumora::Dictionary)
%enddef

%typemap(csin) const lumora::Value & number "Packed.Number($csinput)"

%define %lumora_enum(TYPE, NAME)
%typemap(csin) TYPE "(int) Owned.Defined($csinput)"
%enddef

%typemap(in, canthrow=1) const SWIGTYPE & {
  $1 = ($1_ltype)$input;
  if ($1 == nullptr) {
    SWIG_CSharpSetPendingExceptionArgument(SWIG_CSharpArgumentNullException, "an object is wanted", "$1_name");
    return $null;
  }
}

// An operation for the main thread alone.
%define %lumora_main_thread(OPERATION, CONDITION)
%feature("except", canthrow=1) OPERATION {
  if (!(CONDITION)) {
    SWIG_CSharpSetPendingException(SWIG_CSharpInvalidOperationException, lumora::bindings::kOnlyMainThread);
    return $null;
  }
  $action
}
%enddef

// A record that is copied on its way to the host.
%define %lumora_record(TYPE)
%typemap(out, null="nullptr") const TYPE & "$result = new TYPE(*$1);"
%typemap(csout, excode=SWIGEXCODE) const TYPE & {
    var made = new $csclassname($imcall, true);$excode
    return made;
  }
%typemap(csvarout, excode=SWIGEXCODE2) const TYPE & %{
    get {
      var made = new $csclassname($imcall, true);$excode
      return made;
    } %}
%typemap(directorin) const TYPE & "$input = new TYPE($1);"
%typemap(csdirectorin) const TYPE & "new $csclassname($iminput, true)"
%enddef
%define %lumora_optional_record(TYPE)
%typemap(ctype) const std::optional<TYPE> & "void*"
%typemap(imtype) const std::optional<TYPE> & "global::System.IntPtr"
%typemap(cstype) const std::optional<TYPE> & "$typemap(cstype, TYPE)"
%typemap(out, null="nullptr") const std::optional<TYPE> & "$result = *$1 ? new TYPE(**$1) : nullptr;"
%typemap(csvarout, excode=SWIGEXCODE2) const std::optional<TYPE> & %{
    get {
      var made = $imcall;$excode
      return made == global::System.IntPtr.Zero ? null : new $typemap(cstype, TYPE)(made, true);
    } %}
%enddef

// A class that the host derives. The library's share of an object keeps the object.
%define %lumora_callback(TYPE)
%feature("director") TYPE;
%typemap(ctype) std::shared_ptr<TYPE> "void*"
%typemap(imtype) std::shared_ptr<TYPE> "global::System.Runtime.InteropServices.HandleRef"
%typemap(cstype) std::shared_ptr<TYPE> "$typemap(cstype, TYPE)"
%typemap(csin) std::shared_ptr<TYPE> "Callbacks.Keep($typemap(cstype, TYPE).getCPtr($csinput), $csinput)"
%typemap(in) std::shared_ptr<TYPE> "$1 = lumora::csharp::held(static_cast<TYPE*>($input));"
%enddef

// Any Action is a task.
%define %lumora_task(TYPE)
%ignore TYPE;
%typemap(ctype) std::shared_ptr<TYPE> "void*"
%typemap(imtype) std::shared_ptr<TYPE> "global::System.IntPtr"
%typemap(cstype) std::shared_ptr<TYPE> "Action"
%typemap(csin) std::shared_ptr<TYPE> "Callbacks.TaskOf($csinput)"
%typemap(in) std::shared_ptr<TYPE> %{
  $1 = $input == nullptr ? nullptr : std::make_shared<lumora::csharp::Call>($input);
%}
%enddef

%apply void *VOID_INT_PTR { void *run, void *releaseTask, void *release };
%inline %{
void begin(void* run, void* releaseTask, void* release) {
  lumora::csharp::begin({reinterpret_cast<void (*)(void*)>(run), reinterpret_cast<void (*)(void*)>(releaseTask),
                         reinterpret_cast<void (*)(void*)>(release)});
}
%}

// The library as hosts in other languages see it. Each language has a folder with its names, and with its typemaps
// for texts, values, dates and callbacks; what is here holds for all of them.
%module(package="lumora", directors="1", threads="1", naturalvar="1") _native

%{
#include <poll.h>

#include <chrono>
#include <optional>
#include <string>

#include "bindings/Callbacks.h"
#include "bindings/Folders.h"
#include "lumora/Facade/Copies.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraKeeper.h"
#include "lumora/Facade/LumoraLead.h"
#include "lumora/InApp/MessageScreens.h"
#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "lumora/Platform/Platform.h"
#include "lumora/Util/LMRSecuritySignature.h"
%}

#define LUMORA_EXPORT
#define LUMORA_INTERNAL
#define LUMORA_GUARDED_BY(mutex)
#define LUMORA_REQUIRES(mutex)

// Known to the typemaps alone.
namespace lumora {
class Value;
class Dictionary;
class Data;
class Date;
}
#pragma SWIG nowarn=302,325,401,402,451,473,560,564

%include <stdint.i>
%include <std_shared_ptr.i>

#if defined(SWIGPYTHON)
%include "python/python.i"
#elif defined(SWIGJAVA)
%include "java/java.i"
#elif defined(SWIGCSHARP)
%include "csharp/csharp.i"
#endif

%include "records.i"
#ifdef SWIGCSHARP
%lumora_callbacks_begin
#endif
%include "callbacks.i"
#ifdef SWIGCSHARP
%lumora_callbacks_end
#endif
%include "platform.i"
%include "facade.i"

// The machine's threads, and what the library holds of it.
#include "bindings/java/Machine.h"

#include "bindings/Packed.h"

namespace lumora::java {
namespace {

JavaVM* machine = nullptr;
jmethodID runMethod = nullptr;
jclass callbacks = nullptr;
jmethodID failedMethod = nullptr;

}  // namespace

Attached::Attached() {
  void* env = nullptr;
  if (machine->GetEnv(&env, JNI_VERSION_10) != JNI_OK) {
    isOurs_ = machine->AttachCurrentThreadAsDaemon(&env, nullptr) == JNI_OK;
  }
  env_ = static_cast<JNIEnv*>(env);
}

Attached::~Attached() {
  if (isOurs_) machine->DetachCurrentThread();
}

Kept::~Kept() {
  const bindings::Gate::Entry entry;
  if (!entry) return;
  const Attached env;
  env->DeleteGlobalRef(object_);
}

void logException(JNIEnv* env, jthrowable thrown, const char* where) {
  env->ExceptionClear();
  const jstring name = env->NewStringUTF(where);
  env->CallStaticVoidMethod(callbacks, failedMethod, name, thrown);
  env->ExceptionClear();
  env->DeleteLocalRef(name);
  env->DeleteLocalRef(thrown);
}

Value valueOf(JNIEnv* env, jbyteArray packed) {
  // The collector waits meanwhile, which saves a copy.
  void* const bytes = env->GetPrimitiveArrayCritical(packed, nullptr);
  if (bytes == nullptr) return {};
  Value value = bindings::unpacked(bytes);
  env->ReleasePrimitiveArrayCritical(packed, bytes, JNI_ABORT);
  return value;
}

jbyteArray arrayOf(JNIEnv* env, const Value& value) {
  const std::string bytes = bindings::packed(value);
  const auto size = static_cast<jsize>(bytes.size());
  const jbyteArray array = env->NewByteArray(size);
  if (array != nullptr) {
    env->SetByteArrayRegion(array, 0, size, reinterpret_cast<const jbyte*>(bytes.data()));
  }
  return array;
}

void Call::run() {
  const Attached env;
  env->CallVoidMethod(runnable_.get(), runMethod);
  if (const jthrowable thrown = env->ExceptionOccurred()) logException(env.get(), thrown, "task");
}

}  // namespace lumora::java

/// The machine calls it when the library is loaded.
extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void* /*reserved*/) {
  void* found = nullptr;
  if (vm->GetEnv(&found, JNI_VERSION_10) != JNI_OK) return JNI_ERR;
  auto* const env = static_cast<JNIEnv*>(found);
  lumora::java::machine = vm;
  const jclass runnable = env->FindClass("java/lang/Runnable");
  const jclass callbacks = env->FindClass("lumora/Callbacks");
  if (runnable == nullptr || callbacks == nullptr) return JNI_ERR;
  lumora::java::runMethod = env->GetMethodID(runnable, "run", "()V");
  lumora::java::callbacks = static_cast<jclass>(env->NewGlobalRef(callbacks));
  lumora::java::failedMethod =
      env->GetStaticMethodID(callbacks, "failed", "(Ljava/lang/String;Ljava/lang/Throwable;)V");
  return lumora::java::runMethod == nullptr || lumora::java::failedMethod == nullptr ? JNI_ERR
                                                                                     : JNI_VERSION_10;
}

#pragma once

#include <jni.h>

#include <memory>

#include "bindings/Callbacks.h"
#include "lumora/Platform/Value.h"

/// The Java machine: its threads, what the library holds of it, and values on their way.
namespace lumora::java {

/// Lets any thread call Java, for the length of a scope.
class Attached {
 public:
  Attached();
  ~Attached();
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;
  JNIEnv* operator->() const { return env_; }
  JNIEnv* get() const { return env_; }

 private:
  JNIEnv* env_ = nullptr;
  bool isOurs_ = false;
};

/// Keeps an object; lets go of it on any thread. When the machine has ended the object stays.
class Kept {
 public:
  Kept(JNIEnv* env, jobject object) : object_(env->NewGlobalRef(object)) {}
  ~Kept();
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;
  jobject get() const { return object_; }

 private:
  const jobject object_;
};

/// Writes what a callback has thrown to the logger "lumora".
void logException(JNIEnv* env, jthrowable thrown, const char* where);

Value valueOf(JNIEnv* env, jbyteArray packed);
jbyteArray arrayOf(JNIEnv* env, const Value& value);

/// A callback that keeps its Java object. To be used where SWIG has declared its directors.
template <typename Callback, typename Director>
std::shared_ptr<Callback> held(JNIEnv* env, Callback* callback, const Director& director) {
  const jobject object = director.swig_get_self(env);
  auto kept = std::make_shared<Kept>(env, object);
  env->DeleteLocalRef(object);
  return std::shared_ptr<Callback>(std::move(kept), callback);
}

/// Runs a Runnable.
class Call : public bindings::Runnable {
 public:
  Call(JNIEnv* env, jobject runnable) : runnable_(env, runnable) {}
  void run() override;

 private:
  const Kept runnable_;
};

}  // namespace lumora::java

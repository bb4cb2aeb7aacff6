#pragma once

#include <openssl/ssl.h>

#include <map>

#include "lumora/Platform/Mutex.h"

namespace lumora::service {

/// The open TLS connections of a server. The HTTP library waits on an idle connection until it times out;
/// this lets the server end at once, and break off single connections. Any thread. It outlives its
/// connections.
class Connections {
 public:
  Connections() = default;
  Connections(const Connections&) = delete;
  Connections& operator=(const Connections&) = delete;

  /// From now on knows every connection made with the context.
  void watch(SSL_CTX* context);

  /// Breaks the connection off: nothing more is read or sent.
  static void breakOff(const SSL* connection);

  /// Lets every connection end after the answer that it is at, those still to come too.
  void close();

 private:
  static int ownerIndex();
  static void handshakeStateChanged(const SSL* connection, int where, int value);
  static void forgotten(void* connection, void* owner, CRYPTO_EX_DATA* data, int index, long number,
                        void* pointer);

  void add(SSL* connection);
  void remove(SSL* connection);

  Mutex mutex_;
  bool isClosed_ LUMORA_GUARDED_BY(mutex_) = false;
  std::map<SSL*, int> sockets_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::service

#include "service/Connections.h"

#include <sys/socket.h>

namespace lumora::service {

/// The place in a connection, and in a context, that holds the Connections it belongs to.
int Connections::ownerIndex() {
  static const int index = SSL_get_ex_new_index(0, nullptr, nullptr, nullptr, forgotten);
  return index;
}

void Connections::watch(SSL_CTX* context) {
  SSL_CTX_set_app_data(context, this);
  SSL_CTX_set_info_callback(context, handshakeStateChanged);
}

void Connections::breakOff(const SSL* connection) {
  ::shutdown(SSL_get_fd(connection), SHUT_RDWR);
}

void Connections::close() {
  const Lock lock(mutex_);
  isClosed_ = true;
  for (const auto& [connection, socket] : sockets_) ::shutdown(socket, SHUT_RD);
}

void Connections::handshakeStateChanged(const SSL* connection, int where, int /*value*/) {
  if ((where & SSL_CB_HANDSHAKE_START) == 0) return;
  auto* const owner = static_cast<Connections*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(connection)));
  owner->add(const_cast<SSL*>(connection));
}

/// Called while the connection is freed; its socket is closed only after that.
void Connections::forgotten(void* connection, void* owner, CRYPTO_EX_DATA*, int, long, void*) {
  if (owner != nullptr) static_cast<Connections*>(owner)->remove(static_cast<SSL*>(connection));
}

void Connections::add(SSL* connection) {
  SSL_set_ex_data(connection, ownerIndex(), this);
  const int socket = SSL_get_fd(connection);
  const Lock lock(mutex_);
  sockets_[connection] = socket;
  if (isClosed_) ::shutdown(socket, SHUT_RD);
}

void Connections::remove(SSL* connection) {
  const Lock lock(mutex_);
  sockets_.erase(connection);
}

}  // namespace lumora::service

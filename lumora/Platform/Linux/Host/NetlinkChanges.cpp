// Waits at a netlink socket for addresses and routes that are added. Nothing is read of them but their kind:
// whether the service can be reached, the next request shows.
#include "lumora/Platform/Linux/Host/NetlinkChanges.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/Tasks/RunTask.h"
#include "lumora/Platform/Linux/Tasks/StartThread.h"

namespace lumora {
namespace {

/// A socket that hears of addresses and routes; closed where the system does not let us.
FileDescriptor openNetlink() {
  FileDescriptor netlink(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
  if (!netlink.isOpen() ||
      ::bind(netlink.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
    return {};
  return netlink;
}

/// Reads one packet of messages: whether it tells of something that has come. Nothing when none is left.
std::optional<bool> readNews(int netlink) {
  alignas(nlmsghdr) std::array<char, 8192> packet{};
  const ssize_t count = ::recv(netlink, packet.data(), packet.size(), 0);
  // More came than the socket could hold: something may have.
  if (count < 0 && errno == ENOBUFS) return true;
  if (count <= 0) return std::nullopt;
  auto left = static_cast<unsigned>(count);
  for (auto* message = reinterpret_cast<const nlmsghdr*>(packet.data()); NLMSG_OK(message, left);
       message = NLMSG_NEXT(message, left)) {
    if (message->nlmsg_type == RTM_NEWADDR || message->nlmsg_type == RTM_NEWROUTE) return true;
  }
  return false;
}

class NetlinkWatch : public NetworkChanges::Watch {
 public:
  NetlinkWatch(FileDescriptor netlink, FileDescriptor stop, std::function<void()> callback)
      : state_(std::make_shared<State>(std::move(netlink), std::move(stop), std::move(callback))) {
    worker_ = startThread("lumora.netlink", [state = state_] { state->work(); });
  }

  ~NetlinkWatch() override {
    if (::getpid() != state_->process) {
      static_cast<void>(new std::thread(std::move(worker_)));  // A forked child does not have it.
      return;
    }
    ::eventfd_write(state_->stop.get(), 1);
    if (worker_.get_id() == std::this_thread::get_id()) {
      worker_.detach();
    } else {
      worker_.join();
    }
  }

  NetlinkWatch(const NetlinkWatch&) = delete;
  NetlinkWatch& operator=(const NetlinkWatch&) = delete;

 private:
  struct State {
    State(FileDescriptor socket, FileDescriptor end, std::function<void()> toCall)
        : netlink(std::move(socket)), stop(std::move(end)), callback(std::move(toCall)) {}

    void work() const {
      std::array<pollfd, 2> descriptors{{{netlink.get(), POLLIN, 0}, {stop.get(), POLLIN, 0}}};
      while (::poll(descriptors.data(), descriptors.size(), -1) >= 0 || errno == EINTR) {
        if (descriptors[1].revents != 0) return;
        bool hasCome = false;
        while (const auto news = readNews(netlink.get())) hasCome |= *news;
        if (hasCome) runTask(callback);
      }
    }

    const pid_t process = ::getpid();
    const FileDescriptor netlink;
    const FileDescriptor stop;
    const std::function<void()> callback;
  };

  const std::shared_ptr<const State> state_;
  std::thread worker_;
};

}  // namespace

std::unique_ptr<NetworkChanges::Watch> NetlinkChanges::watch(const std::function<void()>& callback) {
  FileDescriptor netlink = openNetlink();
  FileDescriptor stop(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!netlink.isOpen() || !stop.isOpen()) return nullptr;
  try {
    return std::make_unique<NetlinkWatch>(std::move(netlink), std::move(stop), callback);
  } catch (const std::system_error&) {
    return nullptr;  // The system has no thread to give.
  }
}

}  // namespace lumora

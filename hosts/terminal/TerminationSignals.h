#pragma once

namespace lumora_host {

/// Turns SIGTERM and SIGINT into a readable descriptor. To be made before any thread is, so that every
/// thread leaves these signals to it.
class TerminationSignals {
 public:
  TerminationSignals();
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

  /// Readable once a signal has come.
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace lumora_host

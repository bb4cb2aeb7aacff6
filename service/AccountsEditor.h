#pragma once

#include <string>

#include "lumora/Platform/Mutex.h"
#include "service/AccountsFile.h"

namespace lumora::service {

/// Changes single entries of the accounts file and leaves all others as they are, known or not. Any thread.
class AccountsEditor {
 public:
  explicit AccountsEditor(std::string file) : file_(std::move(file)) {}

  /// The file as it is: "file", "revision", "accounts", "notices". When it is no accounts file there is
  /// "error" instead of the notices, and the accounts are those of before, which the service goes on with.
  JSON read() const;

  struct Outcome {
    enum Kind { written, changedMeanwhile, refused } kind = written;
    /// Why not; empty when it was written.
    std::string reason;
  };
  /// Carries out the changes, all or none, and writes the file whole. `changes` is a list of objects with
  /// "path", a list of keys and indices from the file's top on, and "value"; without "value" the entry is
  /// removed, and an index at the end of a list appends. A file that is no more of that revision stays as it
  /// is: whoever changed it meanwhile has precedence.
  Outcome change(const std::string& revision, const JSON& changes);

  /// The account's secret; empty when there is none.
  std::string secretOf(const std::string& account) const;
  /// Changes with every change of the file, at the cost of a look at its state.
  std::string stamp() const;

 private:
  const std::string file_;
  /// Held while the file is changed.
  Mutex mutex_;
  mutable Mutex lastMutex_;
  /// What was read last.
  mutable JSON last_ LUMORA_GUARDED_BY(lastMutex_);
};

}  // namespace lumora::service

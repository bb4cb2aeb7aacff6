#pragma once

#include <map>
#include <memory>
#include <string>

#include "lumora/Platform/Mutex.h"
#include "service/Phone.h"

namespace lumora::service {

/// The studio's phones. Which there are is kept in a file, so that they are there again at the next start.
/// Any thread.
class Phones {
 public:
  /// The folder is made when missing.
  Phones(std::string directory, PhoneWorld world);

  JSON descriptions() const;
  /// Null when there is none of that number.
  std::shared_ptr<Phone> find(int id) const;
  /// Its number is given by the list.
  std::shared_ptr<Phone> add(PhoneSettings settings);
  /// Ends its application, and removes its folders.
  void remove(int id);
  /// To be called when a phone's settings may have changed.
  void save() const;

 private:
  std::shared_ptr<Phone> make(PhoneSettings settings) LUMORA_REQUIRES(mutex_);

  const std::string directory_;
  const PhoneWorld world_;
  mutable Mutex mutex_;
  std::map<int, std::shared_ptr<Phone>> phones_ LUMORA_GUARDED_BY(mutex_);
  /// What the file has.
  mutable std::string saved_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::service

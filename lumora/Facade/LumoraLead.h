#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Value.h"

namespace lumora {

inline constexpr std::string_view KEY_EMAIL = "email";
inline constexpr std::string_view KEY_GENDER = "gender";
inline constexpr std::string_view KEY_FIRST_NAME = "firstName";
inline constexpr std::string_view KEY_LAST_NAME = "lastName";
inline constexpr std::string_view KEY_ADDRESS = "address";
inline constexpr std::string_view KEY_CITY = "city";
inline constexpr std::string_view KEY_STATE = "state";
inline constexpr std::string_view KEY_COUNTRY = "country";
inline constexpr std::string_view KEY_POSTAL_CODE = "postalCode";
inline constexpr std::string_view KEY_LEAD_SOURCE = "leadSource";
inline constexpr std::string_view KEY_FACEBOOK = "facebookId";
inline constexpr std::string_view KEY_TWITTER = "twitterId";
inline constexpr std::string_view KEY_LINKEDIN = "linkedInId";
inline constexpr std::string_view KEY_BIRTHDAY = "dateOfBirth";
inline constexpr std::string_view KEY_FACEBOOK_PROFILE_URL = "facebookProfileURL";
inline constexpr std::string_view KEY_FACEBOOK_PROFILE_PIC = "facebookPhotoURL";

/// The person who uses the application, for `Lumora::associateLead`.
///
/// The host makes one, fills it in and hands it over. What a host in C++ changes after that and before the
/// library's queue reads the lead is seen; other languages hand over a copy. Any thread may call any
/// operation. An absent or empty text changes nothing, silently; a later value for the same attribute
/// replaces the earlier one; nothing can be removed.
///
///     auto lead = std::make_shared<lumora::LumoraLead>();
///     lead->setEmail("ada@example.com");
///     lead->setFieldName("plan", "gold");
///     lumora::Lumora::sharedInstance().associateLead(lead);
class LUMORA_EXPORT LumoraLead {
 public:
  using Text = std::optional<std::string>;

  /// An address that is none is ignored too.
  void setEmail(const Text& email);
  void setGender(const Text& gender) { setKey(KEY_GENDER, gender); }
  void setFirstName(const Text& name) { setKey(KEY_FIRST_NAME, name); }
  void setLastName(const Text& name) { setKey(KEY_LAST_NAME, name); }
  void setAddress(const Text& address) { setKey(KEY_ADDRESS, address); }
  void setCity(const Text& city) { setKey(KEY_CITY, city); }
  void setState(const Text& state) { setKey(KEY_STATE, state); }
  void setCountry(const Text& country) { setKey(KEY_COUNTRY, country); }
  void setPostalCode(const Text& code) { setKey(KEY_POSTAL_CODE, code); }
  void setLeadSource(const Text& source) { setKey(KEY_LEAD_SOURCE, source); }
  void setFacebookId(const Text& identifier) { setKey(KEY_FACEBOOK, identifier); }
  void setTwitterId(const Text& identifier) { setKey(KEY_TWITTER, identifier); }
  void setLinkedInId(const Text& identifier) { setKey(KEY_LINKEDIN, identifier); }
  void setBirthDay(const Text& birthDay) { setKey(KEY_BIRTHDAY, birthDay); }
  void setFacebookProfileURL(const Text& url) { setKey(KEY_FACEBOOK_PROFILE_URL, url); }
  void setFacebookProfilePicURL(const Text& url) { setKey(KEY_FACEBOOK_PROFILE_PIC, url); }
  /// A field of the host's own.
  void setFieldName(const Text& name, const Text& value);
  /// What all of the above come down to.
  void setKey(const std::optional<std::string_view>& key, const Text& value);

  /// The attributes as they are now.
  Dictionary userData() const;
  Dictionary userAttributes() const { return userData(); }
  void setUserAttributes(Dictionary attributes);

 private:
  mutable Mutex mutex_;
  Dictionary userAttributes_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora

// The four fields of a signature and what makes them good. Whether they were signed rightly only the service
// can tell; LMRUtil keeps the archive, LMREventLoggerUpload.cpp sends the fields.
#include "lumora/Util/LMRSecuritySignature.h"

#include <string_view>

#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

LMRSecuritySignature::Text decodedText(const Coder& coder, std::string_view key) {
  const Value* value = findValue(coder, key);
  const std::string* text = value ? value->asString() : nullptr;
  if (!text) return std::nullopt;
  return *text;
}

bool isGiven(const LMRSecuritySignature::Text& field, std::string_view line) {
  if (!LMRUtil::isStringEmpty(field)) return true;
  logLine("{}", line);
  return false;
}

}  // namespace

std::shared_ptr<LMRSecuritySignature> LMRSecuritySignature::initWithAccessKey(const Text& accessKey,
                                                                              const Text& signature,
                                                                              const Text& timestamp,
                                                                              const Text& email) {
  std::shared_ptr<LMRSecuritySignature> record(new LMRSecuritySignature);
  record->accessKey_ = accessKey;
  record->signature_ = signature;
  record->timeStamp_ = timestamp;
  record->email_ = email;
  if (record->isValid()) return record;
  logLine("LumoraSDK-Faild to create Lumora Config, Please check the credentials");
  return nullptr;
}

std::shared_ptr<LMRSecuritySignature> LMRSecuritySignature::initWithCoder(const Coder& coder) {
  std::shared_ptr<LMRSecuritySignature> record(new LMRSecuritySignature);
  // Not checked: LMRUtil::getSecureSignature does, whenever it is needed, and its lines tell what is missing.
  record->accessKey_ = decodedText(coder, "accessKey");
  record->signature_ = decodedText(coder, "signature");
  record->timeStamp_ = decodedText(coder, "timeStamp");
  record->email_ = decodedText(coder, "email");
  return record;
}

void LMRSecuritySignature::encodeWithCoder(Coder& coder) const {
  coder["accessKey"] = accessKey_;
  coder["signature"] = signature_;
  coder["timeStamp"] = timeStamp_;
  coder["email"] = email_;
}

bool LMRSecuritySignature::isValid() const {
  // The order decides which line is written where several fields are bad.
  if (!isGiven(accessKey_, "LumoraSDK- Nil or Emplty AccessKey in security Token .") ||
      !isGiven(timeStamp_, "LumoraSDK-Nil or Emplty Time Stamp in security Token .") ||
      !isGiven(signature_, "LumoraSDK-Nil or Emplty Signature in security Token .") ||
      !isGiven(email_, "LumoraSDK-Nil or Emplty Email in security Token .")) {
    return false;
  }
  if (LMRUtil::sharedInstance().isValidEmail(*email_)) return true;
  logLine("LumoraSDK-Invalid Email in security Token .");
  return false;
}

}  // namespace lumora

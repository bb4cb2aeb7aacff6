// What the host says of message screens.
#include "hosts/terminal/Screens.h"

#include "hosts/terminal/JSONObject.h"

namespace lumora_host {

using MessageId = lumora::MessageScreens::MessageId;

Screens::Screens(Output& output)
    : output_(output),
      screens_(
          [this](MessageId message, const lumora::Dictionary& description) {
            campaigns_[message] = description.at("campaign");
            output_.write(JSONObject().add("screen", description));
          },
          [this](MessageId message) {
            const auto campaign = campaigns_.extract(message).mapped();
            output_.write(JSONObject().add("dismissed", JSONObject().add("campaign", campaign)));
          }) {}

}  // namespace lumora_host

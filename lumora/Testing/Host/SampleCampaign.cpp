// The least that the library takes for a campaign of layout 3.
#include "lumora/Testing/Host/SampleCampaign.h"

namespace lumora::testing {
namespace {

Dictionary withLooks(Dictionary part) {
  for (const char* look : {"bold", "italic", "underline", "gradient", "border"}) part.emplace(look, false);
  return part;
}

Dictionary text(const char* words) {
  return withLooks({{"text", words}, {"color", "#1d2550"}, {"size", 16}, {"alignment", "start"}});
}

Dictionary button(const char* words, const std::string& link) {
  return withLooks({{"text", words},
                    {"text_color", "#ffffff"},
                    {"text_size", 16},
                    {"style", "style1"},
                    {"color", "#4a5be6"},
                    {"action", Dictionary{{"ios", link}}}});
}

}  // namespace

SampleCampaign::operator Dictionary() const {
  const Dictionary closes{{"ios", "close"}};
  return {{"cid", id},
          {"status", "active"},
          {"version", 1},
          {"display_trigger", trigger},
          {"display_frequency", frequency},
          {"start_time", "2016-01-01T00:00:00+0000"},
          {"end_time", "2099-12-31T23:59:59+0000"},
          {"layout", Dictionary{{"type", "layout3"},
                                {"background", Dictionary{{"color", "#f5f7ff"},
                                                          {"radius", 0},
                                                          {"border_color", "#ffffff"},
                                                          {"border_width", 0}}},
                                {"primary_text", text("A sample")},
                                {"secondary_text", text("of a message")},
                                {"primary_button", button("Open", link)},
                                {"secondary_button", button("Later", "close")},
                                {"close_button", Dictionary{{"style", "style1"},
                                                            {"color", "#525b82"},
                                                            {"layout_alignment", "end"},
                                                            {"action", closes}}}}}};
}

}  // namespace lumora::testing

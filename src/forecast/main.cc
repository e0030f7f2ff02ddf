// The quellmark-next program: when the service, started now or at a given moment, would launch
// Tolvane, when each alarm would next ring, and why an alarm would not. It reads what the
// service reads and never writes a file or runs a command.

#include <cstdio>
#include <string>
#include <variant>
#include <vector>

#include "forecast/forecast.h"
#include "forecast/options.h"
#include "forecast/report.h"
#include "runtime/application.h"

namespace quellmark::forecast {
namespace {

constexpr const char* kVersion = "quellmark-next 1.0";
constexpr int kUsageErrorStatus = 2;

void Print(FILE* stream, const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

int UsageError(const std::string& message) {
  Print(stderr, "quellmark-next: " + message + " (see quellmark-next --help)\n");
  return kUsageErrorStatus;
}

// Runs through the service's application frame, so an escaping exception ends it the same way:
// one line naming the exception and status 70.
class NextApplication : public ServiceApplication {
 public:
  int32_t Run(const std::vector<String>& args) override {
    std::vector<std::string> words;
    for (size_t i = 1; i < args.size(); ++i) words.push_back(args[i].Bytes());
    const std::variant<Options, forecast::UsageError> parsed = ParseOptions(words);
    if (const auto* error = std::get_if<forecast::UsageError>(&parsed)) {
      return UsageError(error->message);
    }
    const auto& options = std::get<Options>(parsed);
    if (options.help) return Print(stdout, UsageText()), 0;
    if (options.version) return Print(stdout, std::string(kVersion) + "\n"), 0;

    Request request;
    request.horizon_days = options.horizon_days;
    request.preferences_file = options.preferences_file;
    if (options.at_wall_seconds) {
      request.start_unix_seconds = UnixSecondsForWall(*options.at_wall_seconds);
      if (!request.start_unix_seconds) {
        return UsageError("--at: '" + options.at_text +
                          "' does not occur here: a daylight-saving change skips it");
      }
    }
    const Forecast forecast = Predict(request);
    Print(stdout, options.json ? JsonReport(forecast) : HumanReport(forecast));
    return ExitStatus(forecast);
  }
};

}  // namespace
}  // namespace quellmark::forecast

int main(int argc, char** argv) {
  quellmark::forecast::NextApplication app;
  return quellmark::RunServiceApplication(app, argc, argv);
}

#include "cli/Commands.h"
#include "cli/Explanation.h"
#include "config/ConfigurationFile.h"
#include "platform/Log.h"

namespace grantwright::Commands {

int Explain(const std::string& configPath) {
  const DictionaryRef config =
      ConfigurationFile::Read(String(configPath), [](const String& line) { MsgBox(line); });
  if (!config) return 1;
  return WriteStandardOutput(Explanation(config)) == 0 ? 0 : 1;
}

}  // namespace grantwright::Commands

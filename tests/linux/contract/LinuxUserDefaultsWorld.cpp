#include <glib.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/linux/system/UserDefaults.h"
#include "tests/TemporaryFolder.h"
#include "tests/contract/UserDefaultsContract.h"

namespace quorvin::contract {
namespace {

constexpr auto group = "defaults";

// The key file as GLib's own writer leaves it.
class LinuxUserDefaultsWorld final : public UserDefaultsWorld {
 public:
  UserDefaults& userDefaults() override { return linuxUserDefaults; }

  void store(const std::string& key, const Setting& setting) override {
    const char* name = key.c_str();
    if (const auto* truth = std::get_if<bool>(&setting)) {
      g_key_file_set_boolean(file.get(), group, name, static_cast<gboolean>(*truth));
    } else if (const auto* number = std::get_if<std::int64_t>(&setting)) {
      g_key_file_set_int64(file.get(), group, name, *number);
    } else {
      g_key_file_set_string(file.get(), group, name, std::get<std::string>(setting).c_str());
    }
    save();
  }
  void remove(const std::string& key) override {
    g_key_file_remove_key(file.get(), group, key.c_str(), nullptr);
    save();
  }

 private:
  void save() {
    if (g_key_file_save_to_file(file.get(), path.c_str(), nullptr) == FALSE) {
      throw std::runtime_error("cannot write " + path);
    }
  }

  TemporaryFolder folder;
  std::string path = folder.path("defaults.ini");
  std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file{g_key_file_new(), &g_key_file_free};
  LinuxUserDefaults linuxUserDefaults{path};
};

const auto keyFile = testing::Values(
    WorldKind<UserDefaultsWorld>{"KeyFile", [] {
                                   return std::make_unique<LinuxUserDefaultsWorld>();
                                 }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, UserDefaultsContract, keyFile, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, UserDefaultsCoercionContract, keyFile, nameOfWorld);

}  // namespace quorvin::contract

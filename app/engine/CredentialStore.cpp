#include "app/engine/CredentialStore.h"

#include <utility>

namespace tesselex {
namespace {

class AbsentStore final : public CredentialStore {
  public:
    explicit AbsentStore(Fault why) : why_(std::move(why)) {}

    Outcome<std::optional<std::u16string>> Read(std::u16string_view) override { return why_; }
    Done Write(std::u16string_view, std::u16string_view) override { return why_; }
    Done Remove(std::u16string_view) override { return why_; }

  private:
    Fault why_;
};

}  // namespace

std::shared_ptr<CredentialStore> NoCredentialStore(Fault why) {
    return std::make_shared<AbsentStore>(std::move(why));
}

}  // namespace tesselex

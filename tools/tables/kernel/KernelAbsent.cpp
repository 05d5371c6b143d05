// Of a build without libmnl: what asks for a kernel's routes says that there is nothing to ask with.
#include <fmt/format.h>

#include "tools/tables/TableErrors.h"
#include "tools/tables/kernel/KernelFollower.h"
#include "tools/tables/kernel/KernelSocket.h"
#include "tools/tables/kernel/KernelTable.h"
#include "tools/tables/kernel/RouteMessage.h"

namespace Rtrie {

struct KernelTable::Asked {};

KernelTable::KernelTable(std::string_view path, const Selection& selection) : name_(path), selection_(selection) {
   throw UsageError(
      fmt::format("{}: this program was built without libmnl, which it asks kernels with: give it what "
                  "ip route show table all prints",
                  name_));
}
KernelTable::KernelTable(KernelTable&&) noexcept = default;
KernelTable::~KernelTable() = default;
KernelRead KernelTable::read(RouteSet&, const std::function<void(std::uint64_t)>&) { return {}; }

struct KernelFollower::Messages {};

KernelFollower::KernelFollower(KernelTable table) : table_(std::move(table)) {}
KernelFollower::~KernelFollower() = default;
std::unique_ptr<RouteSet> KernelFollower::read() { return std::make_unique<RouteSet>(); }
void KernelFollower::step(const Told&) {}
void KernelFollower::readAgainSoon() {}

}  // namespace Rtrie

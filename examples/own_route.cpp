// A route class of one's own that is its own node in a trie: it carries a next hop, and leaves the trie by itself.
#include <fmt/core.h>

#include <string>
#include <utility>

#include <routetrie/platform/Corenet.h>
#include <routetrie/platform/Corvid.h>
#include <routetrie/trie/intrusive/IntrusiveTrie.h>

class Route : public Corvid::Node {
  public:
   using TrieNode = Sprig::Intrusive::UserNode<Route, true, 0>;

   Route(const char* prefix, std::string nextHop)
      : nextHop_(std::move(nextHop)), prefix_(Corenet::Prefix::fromString(prefix)) {}
   ~Route() override {
      if (node_.isLinked()) {
         node_.remove();
      }
   }

   Corenet::PrefixDataAndLength trieGetPrefix() const { return {prefix_.address().bytes().data(), prefix_.len()}; }
   TrieNode& node() { return node_; }
   std::string text() const { return fmt::format("{} by {}", prefix_, nextHop_); }

  private:
   std::string nextHop_;
   TrieNode node_;  // the route's place in the trie: three words
   Corenet::Prefix prefix_;

  public:
   static constexpr TrieNode Route::*trieNodeMember = &Route::node_;
};
static_assert(Sprig::Intrusive::RouteObject<Route>);

int main() {
   Sprig::Intrusive::Trie<Route::TrieNode> trie;
   const auto wide = Corvid::ptrIsImpl<Route>("10.0.0.0/8", "192.0.2.1");
   const auto narrow = Corvid::ptrIsImpl<Route>("10.1.0.0/16", "192.0.2.2");
   trie.insert(*wide);
   trie.insert(*narrow);

   const auto address = Corenet::Prefix::fromString("10.1.2.3/32");
   const auto match = [&] { return trie._longestMatch({address.address().bytes().data(), 32}, nullptr).route; };
   fmt::print("{}: {}\n", address, match()->text());
   narrow->node().remove();  // no search: the route knows its place
   fmt::print("{}: {}\n", address, match()->text());
   trie.removeAll();
}

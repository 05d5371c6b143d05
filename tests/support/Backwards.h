// backwards(range): its elements from the last to the first. As std::views::reverse, which clang before 16 can't compile with the
// ranges of g++'s library.
#pragma once

#include <iterator>
#include <ranges>
#include <utility>

namespace TestSupport {

template <std::ranges::bidirectional_range Range>
class Backwards {
  public:
   explicit Backwards(Range range) : range_(std::forward<Range>(range)) {}
   auto begin() const {
      return std::make_reverse_iterator(std::ranges::next(std::ranges::begin(range_), std::ranges::end(range_)));
   }
   auto end() const { return std::make_reverse_iterator(std::ranges::begin(range_)); }

  private:
   Range range_;
};

// A range that is given away is kept; of another one there is a reference.
template <class Range>
Backwards<Range> backwards(Range&& range) {
   return Backwards<Range>(std::forward<Range>(range));
}

// Two iterators as a range, of which nothing is asked but to be walked.
template <class Iterator>
struct Between {
   Iterator first, last;
   Iterator begin() const { return first; }
   Iterator end() const { return last; }
};
template <class Iterator>
Between(Iterator, Iterator) -> Between<Iterator>;

}  // namespace TestSupport

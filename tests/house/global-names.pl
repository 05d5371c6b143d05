#!/usr/bin/env perl
# global-names ROOT HEADER COMPILER...: fails if whoever includes the header meets a name at global scope that the library
# put there. The compiler preprocesses it; of what comes from files under routetrie/ every declaration outside a namespace
# is named, but for specialisations of other libraries' templates, and for what C's own headers declare, too.
use strict;
use warnings;

my ($root, $header, @compiler) = @ARGV;
die "usage: global-names.pl ROOT HEADER COMPILER...\n" unless @compiler;
chdir $root or die "$root: $!\n";

open my $preprocessed, '-|', "echo '#include <$header>' | @compiler -E -x c++ -I. -" or die "$compiler[0]: $!\n";
my ($text, $isOurs, $files) = ('', 0, 0);
while (my $line = <$preprocessed>) {
   if ($line =~ /^#\s+\d+\s+"([^"]*)"/) {
      $isOurs = $1 =~ m{^(?:\./)?routetrie/|/routetrie/(?:platform|trie)/};
      $files += $isOurs;
   } elsif ($line !~ /^\s*#/) {
      $text .= $line if $isOurs;
   }
}
close $preprocessed or die "$header doesn't preprocess\n";
die "$header: nothing of routetrie/ in it\n" unless $files;

# Literals may hold braces.
$text =~ s/"(?:[^"\\]|\\.)*"/""/g;
$text =~ s/'(?:[^'\\]|\\.)+'/' '/g;

# Each declaration at depth 0 is cut off at its `;`, or at the `}` that closes its first block, unless a `;` follows it.
my ($depth, $head, @heads) = (0, '');
for my $token ($text =~ /[{};]|[^{};]+/g) {
   if ($token eq '{') {
      $depth++;
   } elsif ($token eq '}') {
      $depth--;
      die "$header: more closed than opened\n" if $depth < 0;
      if ($depth == 0 && $head =~ /\bnamespace\b/) {
         push @heads, $head;
         $head = '';
      }
   } elsif ($depth == 0) {
      if ($token eq ';') {
         push @heads, $head;
         $head = '';
      } else {
         $head .= $token;
      }
   }
}
push @heads, $head;

my @faults;
for (@heads) {
   s/\s+/ /g;
   s/^ | $//g;
   next if $_ eq '' || /^(?:inline )?namespace \w/ || /^static_assert\b/;
   next if /^template <.*?> (?:struct|class) (?:__attribute__\(\(.*?\)\)\) )?(?:std|fmt)::\w+</;
   next if /^extern "" .*\b__assert_fail\b/;
   push @faults, $_;
}
print "$header: at global scope: $_\n" for @faults;
printf "%d declarations outside a namespace\n", scalar @faults;
exit(@faults ? 1 : 0);

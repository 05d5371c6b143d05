#!/usr/bin/perl
# assertion-texts ROOT: fails if an assertion of routetrie/ has a text that no death test under tests/ quotes.
#
# The text of ROUTETRIE_ASSERT(condition, text) is its second argument where it has one, else its condition with each
# run of blanks made one. A test quotes it if a string literal in a file with a death test is the text, alone or within
# what glibc prints (Assertion `text' failed, from the text on or from before it); the literal may be a regular expression
# with its escapes. An assertion that repeats what one before it has made sure of cannot fail, and no test can show it; it
# says so on its line: // cannot fail: WHY
#
# Perl without modules, because every Debian has that much.
use strict;
use warnings;

my $root = shift or die "usage: assertion-texts.pl ROOT\n";
chdir $root or die "$root: $!\n";

sub slurp {
   my ($file) = @_;
   open my $in, '<', $file or die "$file: $!\n";
   local $/;
   return scalar <$in>;
}

sub sources {
   open my $found, '-|', 'find', (grep { -d } @_), qw(-type f ( -name *.h -o -name *.cpp )) or die "find: $!\n";
   chomp(my @files = <$found>);
   return sort @files;
}

my $string = qr/(?:u8|[LuU])?(?:R"([^ ()\\]{0,16})\((?:.*?)\)\g{-1}"|"(?:[^"\\\n]|\\.)*")/s;
my $char = qr/(?<![0-9a-zA-Z_])'(?:[^'\\\n]|\\.)+'/;
my $comment = qr{//[^\n]*|/\*.*?\*/}s;

# The code with its comments blanked, lines kept, so that what is only spoken of is not taken for code.
sub withoutComments {
   my ($code) = @_;
   $code =~ s{($string|$char)|($comment)}{ defined $1 ? $1 : $3 =~ s/[^\n]+/ /gr }ges;
   return $code;
}

sub unescape {
   my ($body) = @_;
   my %named = (n => "\n", t => "\t", r => "\r", 0 => "\0");
   $body =~ s{\\(.)}{ exists $named{$1} ? $named{$1} : $1 }ges;
   return $body;
}

# The value of one literal or of several side by side.
sub valueOf {
   my ($literals) = @_;
   my $value = '';
   while ($literals =~ /($string)/gs) {
      my $one = $1;
      $one =~ s/^(?:u8|[LuU])//;
      if ($one =~ /^R"([^(]*)\((.*)\)\1"$/s) { $value .= $2; }
      elsif ($one =~ /^"(.*)"$/s) { $value .= unescape($1); }
   }
   return $value;
}

# The arguments between the parenthesis at pos($$code) and its partner, split at the commas of the top level.
sub arguments {
   my ($code) = @_;
   my ($depth, @arguments) = (0, '');
   while ($$code =~ /\G($string|$char|.)/gs) {
      my $token = $1;
      if ($token =~ /^[(\[{]$/) { next if $depth++ == 0; }
      elsif ($token =~ /^[)\]}]$/) { return @arguments if --$depth == 0; }
      elsif ($token eq ',' && $depth == 1) { push @arguments, ''; next; }
      $arguments[-1] .= $token;
   }
   return;
}

my %asserted;    # text -> the first place that has it
my $faults = 0;
for my $file (sources('routetrie')) {
   my @lines = split /\n/, slurp($file);
   my $code = withoutComments(slurp($file));
   $code =~ s/^[ \t]*#[ \t]*define(?:[^\n]*\\\n)*[^\n]*/"\n" x ($& =~ tr|\n||)/gme;
   while ($code =~ /\bROUTETRIE_ASSERT\s*(?=\()/g) {
      my $line = substr($code, 0, pos $code) =~ tr/\n//;
      my $place = "$file:" . ($line + 1);
      my @arguments = arguments(\$code);
      s/^\s+|\s+$//g for @arguments;
      my $text;
      # A comma outside parentheses, as in a template's arguments, belongs to the condition: the macro would not compile.
      if (@arguments == 1 && length $arguments[0]) { $text = $arguments[0] =~ s/\s+/ /gr; }
      elsif (@arguments == 2 && $arguments[1] =~ /^(?:$string\s*)+$/s) { $text = valueOf($arguments[1]); }
      else {
         print STDERR "$place: the text of this assertion is neither its condition nor a literal\n";
         ++$faults;
         next;
      }
      $asserted{$text} //= $place unless $lines[$line] =~ m{// cannot fail: \w};
   }
}

my %quoted;      # every literal of the files with death tests, plain and with a regular expression's escapes taken away
for my $file (sources('tests')) {
   my $code = withoutComments(slurp($file));
   next unless $code =~ /_(?:DEATH|EXIT)\b/;
   while ($code =~ /((?:$string\s*)+)/gs) {
      my $value = valueOf($1);
      for my $form ($value, $value =~ s/\\([^\w\s])/$1/gr) {
         $quoted{$form} = 1;
         $quoted{$1} = 1 if $form =~ /^(?:.*Assertion [`.])?(.+)['.] failed/s;
      }
   }
}

for my $text (sort keys %asserted) {
   next if $quoted{$text};
   print STDERR "$asserted{$text}: no death test quotes this assertion: $text\n";
   ++$faults;
}
printf "%d assertion texts, %d faults\n", scalar(keys %asserted), $faults;
exit(%asserted && !$faults ? 0 : 1);

// Intrusive: the intrusive engine: its templates, and the IPv6 trie of routes of the caller's own.
#pragma once

#include "routetrie/trie/intrusive/IntrusiveTrie.h"
#include "routetrie/trie/intrusive/IntrusiveTrieCompare.h"
#include "routetrie/trie/intrusive/IntrusiveTrieNode.h"
#include "routetrie/trie/intrusive/Ipv6Trie.h"
#include "routetrie/trie/intrusive/Ipv6TrieRoute.h"

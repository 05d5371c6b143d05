// Multibit: the multibit IPv4 engine: the trie, its nodes, its callbacks.
#pragma once

#include "routetrie/trie/multibit/Trie.h"
#include "routetrie/trie/multibit/TrieNode.h"
#include "routetrie/trie/multibit/TrieWalkCallback.h"
#include "routetrie/trie/multibit/TrieWalkCallbackTest.h"

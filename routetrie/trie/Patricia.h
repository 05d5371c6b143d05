// Patricia: the Patricia engine: the trie, the one with a payload for each route, their callbacks and iterator.
#pragma once

#include "routetrie/trie/patricia/BlackBits.h"
#include "routetrie/trie/patricia/PatriciaTrie.h"
#include "routetrie/trie/patricia/PatriciaTrieData.h"
#include "routetrie/trie/patricia/PatriciaTrieIterator.h"
#include "routetrie/trie/patricia/PatriciaTrieWalkCb.h"
#include "routetrie/trie/patricia/PatriciaTrieWithCompactNodeData.h"
#include "routetrie/trie/patricia/PatriciaTrieWithNodeData.h"

// Fronts: the front ends: a trie of one prefix type each, by family, by VRF, and the values and callbacks beside them.
#pragma once

#include "routetrie/trie/front/Trie6.h"
#include "routetrie/trie/front/TrieCompact.h"
#include "routetrie/trie/front/TrieGen.h"
#include "routetrie/trie/front/TrieGenByVrf.h"
#include "routetrie/trie/front/TrieGenTestWalkCallback.h"
#include "routetrie/trie/front/TrieGenWalkCallback.h"
#include "routetrie/trie/front/TrieWalkPrefix.h"
#include "routetrie/trie/front/TrieWrapper.h"
#include "routetrie/trie/front/TwoLpmLen.h"

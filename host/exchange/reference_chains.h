#pragma once
// Cycles and long chains in a graph of references between the entities of
// a file, found without recursion.
//
// OpenCASCADE checks and transfers a STEP model by following references
// between entities recursively, already while it reads the file. An entity
// that reaches itself through its references (an oriented edge whose edge
// is itself, which a name defined twice can also tie) makes that recursion
// endless, and a long enough chain overflows the stack; either takes the
// process down. Real files have neither: their chains run from a product
// through shapes, faces, edges and vertices to points, a few dozen entities
// and a few more per assembly level. So a model with a cycle or a chain
// above the limit is refused before OpenCASCADE walks it.

#include <cstddef>
#include <cstdint>
#include <vector>

// Entity i refers to targets[first[i]] .. targets[first[i + 1] - 1], as
// entity indexes; first has one entry more than there are entities.
struct REFERENCE_GRAPH {
  std::vector<std::size_t> first{0};
  std::vector<std::uint32_t> targets;

  std::size_t size() const { return first.size() - 1; }
  // Appends an entity that refers to the given ones.
  void add(const std::vector<std::uint32_t>& refers_to) {
    targets.insert(targets.end(), refers_to.begin(), refers_to.end());
    first.push_back(targets.size());
  }
};

enum class REFERENCE_VERDICT {
  SOUND,     // no cycle, no chain longer than the limit
  CYCLE,     // an entity reaches itself
  TOO_DEEP,  // a chain of more entities than the limit
  BAD_INDEX  // a target that is no entity of the graph
};

struct REFERENCE_CHECK {
  REFERENCE_VERDICT verdict = REFERENCE_VERDICT::SOUND;
  std::size_t entity = 0;         // on the cycle, or starting the chain; 0 when sound
  std::size_t longest_chain = 0;  // entities on the longest chain, when sound
};

// Far above any real file's chains, far below what OCCT's recursion survives.
constexpr std::size_t kMaxReferenceChain = 1000;

// Depth-first with an explicit stack: O(entities + references) time and
// memory, whatever the graph.
REFERENCE_CHECK check_reference_chains(const REFERENCE_GRAPH& graph,
                                       std::size_t max_chain = kMaxReferenceChain);

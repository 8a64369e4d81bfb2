#pragma once
// The terminal's picture of the structure browser: one line per node shown,
// indented two spaces a level, "+" before a folded node with children (its
// subtree is left out), "-" before an unfolded one, then the label and the
// kind in parentheses, and " *" after a selected node.

#include <string>
#include <vector>

struct BROWSER_NODE;

std::vector<std::string> structure_tree_text(const BROWSER_NODE& root);

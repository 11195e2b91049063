// The registry as a file that all processes share. Readers see the last complete state; writers take turns and replace the
// file as a whole. Which file: see RegistryFileName.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <sys/stat.h>

#include "platform/registry_tree.h"

namespace platform {

// $TALVO_REGISTRY, else $XDG_DATA_HOME/talvo/registry.reg, else $HOME/.local/share/talvo/registry.reg; empty when none of
// these variables is set.
std::string RegistryFileName();

class RegistryStore {
public:
    static RegistryStore& Instance();

    // Runs `work(tree)` on the current state and gives back its code. The tree is not changed.
    template <class Work>
    LONG Read(Work work) {
        const std::lock_guard hold(lock_);
        if (const LONG code = Refresh(); code != ERROR_SUCCESS) return code;
        return work(*tree_);
    }

    // Runs `work(tree, changed)` while no other process writes. What it changed (it says whether it did) becomes the new
    // state, if its code is success and the file could be replaced; otherwise nothing has happened.
    template <class Work>
    LONG Change(Work work) {
        const std::lock_guard hold(lock_);
        WriterTurn turn;
        if (const LONG code = turn.Begin(); code != ERROR_SUCCESS) return code;
        if (const LONG code = Refresh(); code != ERROR_SUCCESS) return code;
        std::optional<RegistryTree> tree = std::exchange(tree_, std::nullopt);  // lost if anything fails
        bool changed = false;
        const LONG code = work(*tree, changed);
        if (changed) return code == ERROR_SUCCESS ? Replace(std::move(tree)) : code;
        tree_ = std::move(tree);
        return code;
    }

private:
    // Keeps other processes' writers out, by a lock on a file beside the registry. Creates missing folders.
    class WriterTurn {
    public:
        WriterTurn() = default;
        ~WriterTurn();
        WriterTurn(const WriterTurn&) = delete;
        WriterTurn& operator=(const WriterTurn&) = delete;
        LONG Begin();

    private:
        int file_ = -1;
    };

    LONG Refresh();
    LONG Replace(std::optional<RegistryTree> tree);

    std::mutex lock_;
    std::optional<RegistryTree> tree_;  // the parsed state of the file described below
    std::string name_;
    struct stat state_ {};
};

}  // namespace platform

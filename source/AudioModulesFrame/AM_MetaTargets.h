// Meta parameters: each moves several other parameters by a share of its own value, on top of
// their values and without touching the table.
#pragma once

#include "AM_ParamRuntime.h"

class AM_MetaTargets {
public:
    explicit AM_MetaTargets(ParamRuntime& words) : state(words) {}
    // Makes room for `metas` sources with `targets` targets each; their rows begin at the ids
    // `firstMetaRow` and `firstTargetRow`. Call once the table is built.
    void prepare(i32 metas, i32 targets, i32 firstMetaRow, i32 firstTargetRow);

    // Assigns parameter `id` to a target: -2 keeps what is there, other ids that cannot be moved
    // clear it. The limits of the target's two range rows become plus and minus the parameter's
    // span. False for a bad meta or slot. Any thread but the audio one while others assign too.
    bool assign(i32 meta, i32 slot, i32 id);
    // The parameter of a target, -1 for none. Any thread.
    i32 assigned(i32 meta, i32 slot) const;
    // Has the target rows read anew before the next sub-block. Any thread.
    void refresh() { state.needsFullUpdate.store(1, std::memory_order_release); }

    // Writes the sums of all metas through the pointers of their targets, within the limits of
    // each; a parameter that is no target any more gets its own value back. Audio thread.
    void apply();

    i32 metaId(i32 meta) const { return firstMeta + meta; }

private:
    bool isSlot(i32 meta, i32 slot) const;
    i32 targetRow(i32 meta, i32 slot) const;
    void readRows();

    ParamRuntime& state;
    i32 firstMeta = 0;
    i32 firstTarget = 0;
    std::vector<f32> sums;    // one a parameter, 0 outside apply
    std::vector<i32> touched; // ids with a sum
    std::vector<u8> isTouched;
};

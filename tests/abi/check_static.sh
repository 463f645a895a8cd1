#!/usr/bin/env bash
# What a static link carries: check_static.sh ARCHIVE HEADER_DIR CC NM [EMULATOR ...]. Fails when a program that asks for
# no description carries one of their tables, or a text of them, or when one that names its categories carries another,
# or cannot run what it names.
set -euo pipefail
archive=$1 headers=$2 cc=$3 nm=$4
shift 4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One block by its module's functions; any block by the entry points; and every text of the descriptions, a line each.
cat >"$work/module.c" <<'END'
#include "filters/first_order.h"
int main(void)
{
    BlockPro pro = {48000, 24, 64, 0, 0};
    float params[kFilter1stModuleSize] = {1, 0, HP1st, 0, 80, 0}, samples[64] = {1};
    float* pins[] = {samples};
    BlockAlgo* block = FirstOrder_init(1, 1, &pro, EN_FILTER_1ST);
    FirstOrder_param_set(block, params);
    FirstOrder_process(block, pins, pins);
    return FirstOrder_destroy(block);
}
END
cat >"$work/entry.c" <<'END'
#include "vantoro_preprocess.h"
int main(int argc, char** argv)
{
    float samples[64] = {1};
    float* pins[] = {samples};
    BlockAlgo* block = BlockAlgo_init(&g_block_pro, 1, 1, EN_DP_LIMITER + argc - 1);
    (void)argv;
    BlockAlgo_param_update(block);
    BlockAlgo_process(block, pins, pins);
    return BlockAlgo_destroy(block);
}
END
cat >"$work/named.c" <<'END'
#include "vantoro.h"
VANTORO_CATEGORIES = {VANTORO_CATEGORY(EN_DP, DP)};
static void quiet(const char* line, void* user) { (void)line, (void)user; }
int main(void)
{
    float samples[64] = {1};
    float* pins[] = {samples};
    BlockAlgo* block = BlockAlgo_init(&g_block_pro, 1, 1, EN_DP_LIMITER);
    BlockAlgo* terminal = BlockAlgo_init(&g_block_pro, 0, 1, EN_IN + 1);
    int failed = !block || !terminal || BlockAlgo_process(block, pins, pins) < 0;
    Vantoro_set_log_handler(quiet, 0);
    failed |= BlockAlgo_init(&g_block_pro, 1, 1, EN_FILTER_1ST) != 0 || BlockAlgo_init(&g_block_pro, 1, 1, 0xff01) != 0;
    BlockAlgo_destroy(terminal);
    BlockAlgo_destroy(block);
    return failed;
}
END
cat >"$work/texts.c" <<'END'
#include <stdio.h>
#include "common/block_info.h"
int main(void)
{
    const VantoroBlockInfo* info;
    for (int at = 0; (info = Vantoro_block_info_at(at)) != 0; ++at) {
        puts(info->summary);
        for (int i = 0; i < info->layout_count; ++i)
            puts(info->layout[i].param ? info->layout[i].param->help : info->layout[i].table->help);
    }
    return 0;
}
END
for program in module entry named texts; do
    "$cc" -std=c11 -O2 -I"$headers" "$work/$program.c" "$archive" -lm -Wl,--gc-sections -o "$work/$program"
    "$@" "$work/$program" >"$work/$program.out"
done
awk 'length > 24' "$work/texts.out" | sort -u >"$work/texts.txt"  # shorter ones may be parts of other words

carries() { "$nm" "$1" | grep -qE ' _ZN3lbx4info[0-9]+k[A-Za-z]+InfoE$' || grep -qaFf "$work/texts.txt" "$1"; }
carries "$work/texts" || { echo "check_static: the tables are not where this looks for them" >&2; exit 1; }
"$nm" "$work/named" >"$work/named.txt"
if ! grep -q ' T Limiter_process' "$work/named.txt" || grep -q ' T FirstOrder_process' "$work/named.txt"; then
    echo "check_static: 'named' carries other blocks than it names" >&2
    exit 1
fi
for program in module entry named; do
    ! carries "$work/$program" || { echo "check_static: '$program' carries descriptions" >&2; exit 1; }
done
echo "$(wc -l <"$work/texts.txt") texts, none of them in a program that asks for none"

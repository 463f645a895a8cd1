// SPDX-License-Identifier: Apache-2.0
// The graph runtime: runs a preset, which is a whole schematic as one table of bytes, block by block. The program, a
// live host and a product run the same presets through it, so that what was heard is what ships, bit for bit.
//
//   VantoroGraph* graph = Vantoro_graph_create(room_preset, sizeof room_preset, 0);
//   ... every block of audio: fill Vantoro_graph_input(graph, ch), then
//   Vantoro_graph_process(graph);                       // ... and read Vantoro_graph_output(graph, ch)
//   ... any time, from one other thread:
//   Vantoro_graph_post(graph, ROOM_EQ, vector, length); // new parameters for one node
//   Vantoro_graph_swap(graph, other, 20);               // a whole new preset, crossfaded
//
// Two threads: the audio thread calls the functions of "audio", one control thread all others. Nothing locks, and the
// audio thread neither allocates nor frees. Needs libvantoro, libc and libm.
#ifndef VANTORO_GRAPH_VANTORO_GRAPH_H
#define VANTORO_GRAPH_VANTORO_GRAPH_H

#include <stddef.h>
#include <vantoro/common/block_types.h>

LBX_BEGIN_C

typedef struct VantoroGraph VantoroGraph;

// ---- presets ----

// A preset is an array of 32-bit words in little-endian order:
//
//   header   VANTORO_PRESET_HEADER words, see VantoroPresetWord
//   nodes    VANTORO_PRESET_NODE words each, in order of processing, see VantoroPresetNodeWord
//   links    one word for each input pin of each node, then one for each output channel: the pin that is heard. 0 is
//            silence, 1 to `inputs` are the input channels, then come the output pins, node by node
//   floats   the parameter vectors
//   text     the names of the nodes, each ended by a zero byte, filled up with zeros to a whole word
#define VANTORO_PRESET_MAGIC 0x50475456U  // "VTGP"
#define VANTORO_PRESET_VERSION 1U
enum VantoroPresetWord {
    VANTORO_PRESET_WORD_MAGIC,
    VANTORO_PRESET_WORD_VERSION,
    VANTORO_PRESET_WORD_BYTES,  // of the whole preset
    VANTORO_PRESET_WORD_CRC,    // CRC-32 (IEEE 802.3) of the bytes after this word
    VANTORO_PRESET_WORD_RATE,   // Hz; 0: any
    VANTORO_PRESET_WORD_BLOCK_SIZE,
    VANTORO_PRESET_WORD_INPUTS,  // channels
    VANTORO_PRESET_WORD_OUTPUTS,
    VANTORO_PRESET_WORD_NODES,
    VANTORO_PRESET_WORD_LINKS,
    VANTORO_PRESET_WORD_FLOATS,
    VANTORO_PRESET_WORD_TEXT,  // words of text
    VANTORO_PRESET_HEADER
};
enum VantoroPresetNodeWord {
    VANTORO_PRESET_NODE_TYPE,  // _QV_TYPE, with VANTORO_PRESET_QUIET or without
    VANTORO_PRESET_NODE_INPUTS,
    VANTORO_PRESET_NODE_OUTPUTS,
    VANTORO_PRESET_NODE_VECTOR,  // its first float among the floats
    VANTORO_PRESET_NODE_LENGTH,  // floats
    VANTORO_PRESET_NODE_NAME,    // its first byte in the text
    VANTORO_PRESET_NODE
};

// A node that runs in the second arithmetic (vantoro_quiet.h); its type has one.
#define VANTORO_PRESET_QUIET 0x10000

// CRC-32 of a finished preset, for VANTORO_PRESET_WORD_CRC. `bytes` is the size of the whole, at least the header.
unsigned Vantoro_preset_crc(const void* preset, size_t bytes);

// RT_OK when `preset` can be run, else RT_ERR_VALUE and, in at most n bytes of `why` (may be null), the reason. Takes
// any bytes, reads `bytes` of them and never ends the process: every number is checked, the parameter vectors with
// Vantoro_param_check. A preset needs no alignment.
int Vantoro_graph_check(const void* preset, size_t bytes, char* why, size_t n);

// 1 where a node of this type may be such, in this build.
int Vantoro_graph_quiet(int type);

// A static product none of whose presets has such a node leaves libvantoro_quiet out when it says once, in C or C++:
//   VANTORO_GRAPH_WITHOUT_QUIET;
// Presets that have one are refused then. (Of the shared library nothing is left out.)
typedef struct VantoroGraphArithmetic VantoroGraphArithmetic;
extern const VantoroGraphArithmetic* const Vantoro_graph_arithmetic;
#define VANTORO_GRAPH_WITHOUT_QUIET const VantoroGraphArithmetic* const Vantoro_graph_arithmetic = 0

// ---- life ----

// A graph in its initial state. `rate` in Hz, or 0 for the rate that the preset names. The preset is not needed
// afterwards. Null when Vantoro_graph_check refuses the preset, when the rates differ or are missing (1000 to 768000),
// and when memory is short.
VantoroGraph* Vantoro_graph_create(const void* preset, size_t bytes, int rate);

// Frees a graph and all that was swapped into it. Null is ignored.
void Vantoro_graph_destroy(VantoroGraph* graph);

// ---- what it is ----

int Vantoro_graph_rate(const VantoroGraph* graph);        // Hz
int Vantoro_graph_block_size(const VantoroGraph* graph);  // samples
int Vantoro_graph_inputs(const VantoroGraph* graph);      // channels
int Vantoro_graph_outputs(const VantoroGraph* graph);
int Vantoro_graph_nodes(const VantoroGraph* graph);

// The name of a node, or null; and the first node of a name, or -1. Numbers are in order of processing.
const char* Vantoro_graph_node_name(const VantoroGraph* graph, int node);
int Vantoro_graph_find(const VantoroGraph* graph, const char* name);

// The vector that was accepted last for a node, at most `max` entries; returns its length, 0 for no such node.
int Vantoro_graph_vector(const VantoroGraph* graph, int node, float* vector, int max);

// The library's record of a node, to be read between process calls on the audio thread; null: no such node.
const BlockAlgo* Vantoro_graph_block(const VantoroGraph* graph, int node);

// ---- audio ----

// The buffers of one channel, of block_size samples; they stay where they are as long as the graph lives. Null: no such
// channel. The caller fills the inputs and reads the outputs.
float* Vantoro_graph_input(VantoroGraph* graph, int channel);
const float* Vantoro_graph_output(const VantoroGraph* graph, int channel);

// What an output pin of a node holds after a process call, block_size samples: for meters and spectra. Audio thread.
// The buffer stays where it is until another preset is swapped in, and is written from the process call after the first
// such call on: before, filters in series that nobody looks into run as one. Null: no such pin.
const float* Vantoro_graph_signal(const VantoroGraph* graph, int node, int pin);

// One block: takes what was posted or swapped in, runs every node once. While a node of the graph decays through
// denormal numbers, they are flushed to zero, and the thread gets its own floating-point mode back. RT_OK, or the
// negative result of the first node that failed; the outputs are then silent.
int Vantoro_graph_process(VantoroGraph* graph);

// The node that failed in the last process call, or -1.
int Vantoro_graph_failed(const VantoroGraph* graph);

// The name of the node that failed last, or where the last fault (below) started, its first 63 bytes, to be read
// between two process calls on the audio thread; empty: none yet.
const char* Vantoro_graph_blamed(const VantoroGraph* graph);

// What was wrong since the graph was made. An input sample that is not finite, or beyond 1e10, is taken as 0. When a
// number that is not finite reaches an output (or stands anywhere in the graph: one node is looked at per block), the
// nodes that made it or took it in are cleared (BlockAlgo_clear); that block of the output is silent, the next one
// plays.
typedef struct VantoroGraphFaults {
    unsigned long long inputs;  // samples taken as 0
    unsigned long long blocks;  // blocks after which nodes were cleared
    int node;                   // where the last of them started: the first node that made such a number; -1: none
} VantoroGraphFaults;
void Vantoro_graph_faults(const VantoroGraph* graph, VantoroGraphFaults* faults);  // audio thread

// A new parameter vector at once, between two process calls. Of any length that Vantoro_param_check passes: this one
// may allocate and log, and is for hosts that render on one thread. RT_OK, RT_ERR_VALUE, or what the library answers.
int Vantoro_graph_set(VantoroGraph* graph, int node, const float* vector, int length);

// The same for any number of frames per call: in[ch] and out[ch] hold `frames` samples each, and may be the same
// buffers. Samples come out Vantoro_graph_latency frames after they went in. Do not mix with Vantoro_graph_process.
// RT_OK, or the last negative result of a block.
int Vantoro_graph_run(VantoroGraph* graph, const float* const* in, float* const* out, int frames);

// Frames by which Vantoro_graph_run delays, beyond what the nodes do: block_size - 1. (Vantoro_graph_process: none.)
int Vantoro_graph_latency(const VantoroGraph* graph);

// ---- changes ----

// A new parameter vector for a node, in force from the next process call on. RT_OK; RT_ERR_VALUE for no such node, for
// a vector that Vantoro_param_check refuses, and for one that would make the node allocate (another length, or another
// value of a parameter marked VANTORO_SIZES: swap for those); RT_ERR_NO_BUFFER when the queue is full, which a process
// call empties. Nothing is lost: what was accepted is applied, in order.
int Vantoro_graph_post(VantoroGraph* graph, int node, const float* vector, int length);

// The same with the vector that was accepted last and one entry of it changed. Allocates nothing; RT_ERR_VALUE also for
// no such entry.
int Vantoro_graph_post_entry(VantoroGraph* graph, int node, int entry, float value);

// Replaces the running preset by that of `next`: both run for `ms` milliseconds (0 to 10000), crossfaded with a raised
// cosine, from the next process call on. `next` is used up: do not touch it again, post to `graph` instead, with the
// node numbers of the new preset. A swap that has not begun when another comes is dropped: the newest wins. RT_OK, or
// RT_ERR_VALUE when rate, block size or channels differ, and then both stay as they were.
int Vantoro_graph_swap(VantoroGraph* graph, VantoroGraph* next, float ms);

// Lets a graph hear `frames` samples (whole blocks; the rest is left out) without output, so that its state is that of
// one that always ran. For a graph that is not running yet.
int Vantoro_graph_replay(VantoroGraph* graph, const float* const* in, int frames);

// So that another graph can take over unheard: keeps what the graph hears for so many seconds (0 to 60). Before audio
// starts. RT_OK, RT_ERR_VALUE, RT_ERR_MALLOC.
int Vantoro_graph_keep(VantoroGraph* graph, float seconds);

// Lets `next` hear what `graph` has heard, while `graph` plays: at most `blocks` blocks, from where the last call
// stopped, and nothing that is older than `frames` frames. Nodes that may remember for longer than that and are the
// same in both graphs, with all that they hear, are taken over as they are: sources, latches, long delays, noise.
// Returns how many blocks `next` has still to hear (then call it again, or swap: a few are caught up by the audio
// thread), RT_ERR_VALUE for graphs that cannot be swapped, RT_ERR_MALLOC, or what a node answers. Between the first
// call and the swap nothing is posted to `graph` and nothing else is swapped; a swap that has not begun is dropped.
int Vantoro_graph_follow(VantoroGraph* graph, VantoroGraph* next, int frames, int blocks);

// 1 when all that was posted and swapped in is heard and no fade is left, else 0.
int Vantoro_graph_settled(const VantoroGraph* graph);

// Frees what has been swapped out since the last call; swap and destroy call it too.
void Vantoro_graph_collect(VantoroGraph* graph);

// The values of a level detector after the last process call, at most `max`; returns how many there are, 0 for other
// nodes. May be called while audio runs.
int Vantoro_graph_levels(const VantoroGraph* graph, int node, float* levels, int max);

// ---- meters ----

// Signals have numbers as in the links of a preset; after the output pins come the channels of the output as they are
// heard. By node and pin, or for a channel of the input or output; 0: no such signal.
#define VANTORO_GRAPH_INPUT (-1)
#define VANTORO_GRAPH_OUTPUT (-2)
int Vantoro_graph_signal_number(const VantoroGraph* graph, int node, int pin);

// Peak and mean square of every signal, by its number, since they were read last; full scale is 1. Returns how many
// signals there are, at most `max` of which are written, or 0: nothing new. What is read now ends with the block after
// the call before. Nothing is measured before the first call and after Vantoro_graph_meters_off.
typedef struct VantoroGraphMeter {
    float peak, mean_square;
} VantoroGraphMeter;
typedef struct VantoroGraphSpan {
    long long blocks;  // that were measured
    int newest;        // 1: of the preset that was swapped in last; 0: another still plays
} VantoroGraphSpan;
int Vantoro_graph_meters(VantoroGraph* graph, VantoroGraphMeter* meters, int max, VantoroGraphSpan* span);
void Vantoro_graph_meters_off(VantoroGraph* graph);

// Keeps the newest 65536 samples of a signal in one of 16 slots; a negative number stops that. A graph that is swapped
// in has slots of its own, which are set before; what was kept stays.
#define VANTORO_GRAPH_TAPS 16
int Vantoro_graph_tap(VantoroGraph* graph, int slot, int signal);
// The newest `count` samples of a slot, oldest first. RT_OK, or RT_ERR_VALUE while there are fewer.
int Vantoro_graph_tapped(const VantoroGraph* graph, int slot, float* samples, int count);

// For a log handler (Vantoro_set_log_handler): the name of the node that the calling thread is making, setting or
// running, or null.
const char* Vantoro_graph_node_at_work(void);

LBX_END_C

#endif

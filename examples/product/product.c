// SPDX-License-Identifier: Apache-2.0
// A product around an exported graph: 16-bit stereo frames at 48 kHz from standard input to standard output, parameters
// from a second thread, levels on standard error.
//
//   arecord -t raw -f S16_LE -r 48000 -c 2 | ./product CONTROL | aplay -t raw -f S16_LE -r 48000 -c 2
//
// CONTROL is a file or a FIFO of lines such as "volume -20", "bass 60", "limit -6".
#define _POSIX_C_SOURCE 200809L
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>
#include <vantoro/vantoro.h>

#include "speaker.h"

#define RATE 48000                  // Hz
#define PERIOD 240                  // frames
#define FRAME (2 * SPEAKER_INPUTS)  // bytes

static const struct Control {
    const char* name;
    int (*set)(VantoroGraph* graph, float value);
} kControls[] = {
    {"volume", speaker_set_makeup_volume_db},          // dB, -80 to 12
    {"bass", speaker_set_loudness_bass_gain_percent},  // %, 0 to 100
    {"limit", speaker_set_limiter_threshold_db},       // dB, -60 to 0
};

struct Product {
    VantoroGraph* graph;
    int control;  // a file descriptor; -1: none
    atomic_int ended;
};

// The control thread is the only one that posts and reads levels.
static void obey(VantoroGraph* graph, const char* line)
{
    char name[16];
    float value;
    if (sscanf(line, "%15s %f", name, &value) == 2)
        for (size_t i = 0; i < sizeof kControls / sizeof kControls[0]; ++i)
            if (strcmp(name, kControls[i].name) == 0 && kControls[i].set(graph, value) == RT_OK)
                return;
    fprintf(stderr, "product: refused: %s\n", line);
}

// Whole lines of what is there to read; the start of another one stays in `text`. Returns its length, or -1 at the end.
static int take_lines(struct Product* product, char* text, int length, int size)
{
    const long got = read(product->control, text + length, (size_t)(size - 1 - length));
    text[length + (got > 0 ? got : 0)] = '\0';
    char* line = text;
    for (char* end; (end = strchr(line, '\n')) != NULL; line = end + 1) {
        *end = '\0';
        obey(product->graph, line);
    }
    const int rest = (int)strlen(line);
    memmove(text, line, (size_t)rest + 1);
    return got <= 0 ? -1 : rest < size - 1 ? rest : 0;  // a line that does not fit is dropped
}

static void* control(void* user)
{
    struct Product* product = user;
    char text[256];
    for (int length = 0; !atomic_load(&product->ended);) {
        struct pollfd waiting = {product->control, POLLIN, 0};
        if (poll(&waiting, 1, 500) > 0 && (length = take_lines(product, text, length, sizeof text)) < 0)
            product->control = -1, length = 0;  // poll ignores it
        float level = 0;
        if (Vantoro_graph_levels(product->graph, SPEAKER_IN_LEVEL, &level, 1) == 1)
            fprintf(stderr, "product: input %.1f dB\n", (double)level);
    }
    return NULL;
}

// The audio thread. Runs until the input has ended and all of it has come out. The graph's latency is taken off the
// start.
static void play(VantoroGraph* graph)
{
    static float in[SPEAKER_INPUTS][PERIOD], out[SPEAKER_OUTPUTS][PERIOD];
    float* ins[] = {in[0], in[1]};
    float* outs[] = {out[0], out[1]};
    unsigned char frames[PERIOD * FRAME];
    long late = Vantoro_graph_latency(graph), owed = 0;  // frames to drop, frames that are still to come
    do {
        const size_t got = fread(frames, FRAME, PERIOD, stdin);
        memset(frames + got * FRAME, 0, sizeof frames - got * FRAME);
        owed += (long)got;
        Vantoro_pcm_read(frames, ins, SPEAKER_INPUTS, PERIOD, VANTORO_PCM_S16, 0);
        Vantoro_graph_run(graph, (const float* const*)ins, outs, PERIOD);
        Vantoro_pcm_write((const float* const*)outs, frames, SPEAKER_OUTPUTS, PERIOD, VANTORO_PCM_S16, 0);
        const long skip = late < PERIOD ? late : PERIOD;
        const long count = owed < PERIOD - skip ? owed : PERIOD - skip;
        late -= skip, owed -= count;
        if (fwrite(frames + skip * FRAME, FRAME, (size_t)count, stdout) != (size_t)count)
            return;
    } while (owed > 0 || !(feof(stdin) || ferror(stdin)));
}

int main(int argc, char** argv)
{
    struct Product product = {Vantoro_graph_create(speaker_preset, sizeof speaker_preset, RATE),
                              argc > 1 ? open(argv[1], O_RDWR | O_NONBLOCK) : -1, 0};
    pthread_t thread;
    if (!product.graph || (argc > 1 && product.control < 0) || pthread_create(&thread, NULL, control, &product) != 0)
        return fprintf(stderr, "product: cannot begin\n"), 1;
    play(product.graph);
    const int failed = fflush(stdout) != 0 || ferror(stdin);
    atomic_store(&product.ended, 1);
    pthread_join(thread, NULL);
    Vantoro_graph_destroy(product.graph);
    return failed;
}

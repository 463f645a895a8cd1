// SPDX-License-Identifier: Apache-2.0
// Plays raw interleaved floats through exported products, as a device would: play NUMBER RATE [PRESET] <IN >OUT. The
// products and their changes stand in products.h, which the test writes; PRESET replaces the table that is compiled in.
#include <stdio.h>
#include <stdlib.h>

#include "products.h"

static int fail(const char* what)
{
    fprintf(stderr, "play: %s\n", what);
    return 1;
}

// False at the end of the input; the last block is filled up with silence.
static int read_block(const struct Product* product, long* frames)
{
    float frame[1024];
    *frames = 0;
    for (int i = 0; i < product->block_size; ++i) {
        const size_t channels = (size_t)product->inputs;
        const int there = fread(frame, sizeof(float), channels, stdin) == channels;
        *frames += there;
        for (int ch = 0; ch < product->inputs; ++ch)
            input(product, ch)[i] = there ? frame[ch] : 0.0F;
    }
    return *frames > 0;
}

static int play(const struct Product* product)
{
    long frames;
    for (long block = 0; read_block(product, &frames); ++block) {
        if (change(product, block) != 0)
            return fail("a change is refused");
        if (process(product) != 0)
            return fail("a block fails");
        for (long i = 0; i < frames; ++i)
            for (int ch = 0; ch < product->outputs; ++ch)
                fwrite(output(product, ch) + i, sizeof(float), 1, stdout);
    }
    return fflush(stdout) == 0 ? 0 : fail("cannot write");
}

int main(int argc, char** argv)
{
    if (argc < 3)
        return fail("NUMBER RATE [PRESET]");
    const struct Product* product = &products[atoi(argv[1])];
    if (init(product, atoi(argv[2]), argv[3]) != 0)
        return fail("cannot begin");
    const int status = play(product);
    end(product);
    return status;
}

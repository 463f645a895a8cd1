// SPDX-License-Identifier: Apache-2.0
// Products that call their blocks themselves.
#include <stdlib.h>

struct Product {
    int block_size, inputs, outputs;
    int (*init)(int rate);
    float* (*input)(int channel);
    const float* (*output)(int channel);
    int (*process)(void);
    void (*free)(void);
    int (*change)(long block);
};

// Twice: a second beginning is like the first, whatever was heard.
static int init(const struct Product* product, int rate, const char* path)
{
    if (path || product->init(rate) != 0)
        return 1;
    for (int ch = 0; ch < product->inputs; ++ch)
        for (int i = 0; i < product->block_size; ++i)
            product->input(ch)[i] = 0.5F;
    product->process();
    srand(1);  // white noise draws from rand()
    return product->init(rate);
}

static float* input(const struct Product* product, int channel) { return product->input(channel); }
static const float* output(const struct Product* product, int channel) { return product->output(channel); }
static int change(const struct Product* product, long block) { return product->change(block); }
static int process(const struct Product* product) { return product->process(); }
static void end(const struct Product* product) { product->free(); }

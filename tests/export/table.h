// SPDX-License-Identifier: Apache-2.0
// Products as presets on the graph runtime.
#include <stdint.h>
#include <stdio.h>
#include <vantoro/vantoro_graph.h>

struct Product {
    int block_size, inputs, outputs;
    const uint32_t* preset;
    size_t bytes;
    int (*change)(long block);
};

static VantoroGraph* running;

static int init(const struct Product* product, int rate, const char* path)
{
    static unsigned char bytes[1 << 20];
    if (path) {
        FILE* file = fopen(path, "rb");
        const size_t size = file ? fread(bytes, 1, sizeof bytes, file) : 0;
        if (file)
            fclose(file);
        running = Vantoro_graph_create(bytes, size, rate);
    } else {
        running = Vantoro_graph_create(product->preset, product->bytes, rate);
    }
    return running ? 0 : 1;
}

static float* input(const struct Product* product, int channel)
{
    (void)product;
    return Vantoro_graph_input(running, channel);
}

static const float* output(const struct Product* product, int channel)
{
    (void)product;
    return Vantoro_graph_output(running, channel);
}

static int change(const struct Product* product, long block) { return product->change(block); }

static int process(const struct Product* product)
{
    (void)product;
    return Vantoro_graph_process(running);
}

static void end(const struct Product* product)
{
    (void)product;
    Vantoro_graph_destroy(running);
}

// SPDX-License-Identifier: Apache-2.0
// A PCM for tests: any channels, one format, paced by the clock, and while a file exists that its configuration names,
// it is gone (ENODEV) or stumbles once (EPIPE).
#include <alsa/asoundlib.h>
#include <alsa/pcm_external.h>
#include <stdlib.h>
#include <string.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

typedef struct Device {
    snd_pcm_ioplug_t io;
    char *gone, *stumble, *format;
    struct timespec start;
    int runs;
} Device;

static int there(const char* path) { return path && access(path, F_OK) == 0; }

static snd_pcm_sframes_t pointer(snd_pcm_ioplug_t* io)
{
    Device* d = io->private_data;
    unsigned long long ticks;
    if (read(io->poll_fd, &ticks, sizeof ticks) < 0) {
    }
    if (there(d->gone))
        return -ENODEV;
    if (!d->runs)
        return 0;
    if (there(d->stumble)) {
        unlink(d->stumble);
        return -EPIPE;
    }
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const double seconds = (double)(now.tv_sec - d->start.tv_sec) + (double)(now.tv_nsec - d->start.tv_nsec) * 1e-9;
    return (snd_pcm_sframes_t)((unsigned long)(seconds * io->rate) % io->buffer_size);
}

static snd_pcm_sframes_t transfer(snd_pcm_ioplug_t* io, const snd_pcm_channel_area_t* areas, snd_pcm_uframes_t offset,
                                  snd_pcm_uframes_t size)
{
    if (io->stream == SND_PCM_STREAM_CAPTURE)
        for (unsigned c = 0; c < io->channels; ++c)
            snd_pcm_area_silence(&areas[c], offset, size, io->format);
    return (snd_pcm_sframes_t)size;
}

static int prepare(snd_pcm_ioplug_t* io) { return there(((Device*)io->private_data)->gone) ? -ENODEV : 0; }

static int start(snd_pcm_ioplug_t* io)
{
    Device* d = io->private_data;
    clock_gettime(CLOCK_MONOTONIC, &d->start);
    d->runs = 1;
    const struct itimerspec every_ms = {{0, 1000000}, {0, 1000000}};
    return timerfd_settime(io->poll_fd, 0, &every_ms, NULL);
}

static int stop(snd_pcm_ioplug_t* io)
{
    ((Device*)io->private_data)->runs = 0;
    return 0;
}

static void release(Device* d)
{
    close(d->io.poll_fd);
    free(d->gone);
    free(d->stumble);
    free(d->format);
    free(d);
}

static int closed(snd_pcm_ioplug_t* io)
{
    release(io->private_data);
    return 0;
}

static int limit(snd_pcm_ioplug_t* io)
{
    const char* format = ((Device*)io->private_data)->format;
    const unsigned access[] = {SND_PCM_ACCESS_RW_INTERLEAVED};
    const unsigned formats[] = {(unsigned)(format ? snd_pcm_format_value(format) : SND_PCM_FORMAT_S16)};
    if (snd_pcm_ioplug_set_param_list(io, SND_PCM_IOPLUG_HW_ACCESS, 1, access) < 0 ||
        snd_pcm_ioplug_set_param_list(io, SND_PCM_IOPLUG_HW_FORMAT, 1, formats) < 0 ||
        snd_pcm_ioplug_set_param_minmax(io, SND_PCM_IOPLUG_HW_CHANNELS, 4, 8) < 0 ||
        snd_pcm_ioplug_set_param_minmax(io, SND_PCM_IOPLUG_HW_RATE, 44100, 96000) < 0 ||
        snd_pcm_ioplug_set_param_minmax(io, SND_PCM_IOPLUG_HW_PERIOD_BYTES, 64, 1 << 20) < 0)
        return -EINVAL;
    return snd_pcm_ioplug_set_param_minmax(io, SND_PCM_IOPLUG_HW_BUFFER_BYTES, 128, 1 << 21);
}

SND_PCM_PLUGIN_DEFINE_FUNC(vtest)
{
    static const snd_pcm_ioplug_callback_t calls = {
        .start = start, .stop = stop, .pointer = pointer, .transfer = transfer, .close = closed, .prepare = prepare};
    Device* d = calloc(1, sizeof *d);
    snd_config_iterator_t at, next;
    (void)root;
    snd_config_for_each(at, next, conf)
    {
        const snd_config_t* entry = snd_config_iterator_entry(at);
        const char *id, *path;
        snd_config_get_id(entry, &id);
        if (snd_config_get_string(entry, &path) == 0 && strcmp(id, "type") != 0)
            *(strcmp(id, "gone") == 0 ? &d->gone : strcmp(id, "format") == 0 ? &d->format : &d->stumble) = strdup(path);
    }
    d->io.version = SND_PCM_IOPLUG_VERSION;
    d->io.name = "vtest";
    d->io.callback = &calls;
    d->io.private_data = d;
    d->io.poll_fd = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK);
    d->io.poll_events = POLLIN;
    int error = there(d->gone) ? -ENODEV : snd_pcm_ioplug_create(&d->io, name, stream, mode);
    if (error < 0) {
        release(d);
        return error;
    }
    *pcmp = d->io.pcm;
    return limit(&d->io);
}
SND_PCM_PLUGIN_SYMBOL(vtest);

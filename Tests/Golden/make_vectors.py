#!/usr/bin/env python3
"""Writes the golden vectors beside this file: one piece of audio in every shape that it has
on the card, in the stream buffers, on the sockets and in a recording.

Written from the layouts alone; shares nothing with the service. The files are kept in the
tree, so this runs only when a layout changes:  Tests/Golden/make_vectors.py
"""
import pathlib
import struct

CHANNELS = 24
FRAMES = 32  # of a period
PERIODS = 4


def sample(channel, frame):
    """Signed 16-bit; a slope and a start of its own on every channel, both extremes in it."""
    if frame == 0 and channel in (1, 24):
        return -32768 if channel == 1 else 32767
    return (frame * (2 * channel + 1) * 113 + channel * 2731) % 65536 - 32768


def period(number):
    return range(number * FRAMES, (number + 1) * FRAMES)


def card_period(number):
    """Frame by frame, a little-endian word a channel: its number (1 to 24) above its sample."""
    return b"".join(struct.pack("<I", channel << 16 | sample(channel, frame) & 0xFFFF)
                    for frame in period(number) for channel in range(1, CHANNELS + 1))


def planar_payload(number):
    """Channel by channel, its samples in time order."""
    return b"".join(struct.pack("<h", sample(channel, frame))
                    for channel in range(1, CHANNELS + 1) for frame in period(number))


def recorded_period(number):
    """Frame by frame, a sample a channel."""
    return b"".join(struct.pack("<h", sample(channel, frame))
                    for frame in period(number) for channel in range(1, CHANNELS + 1))


def stream_record(number):
    payload = planar_payload(number)
    return struct.pack("<H", len(payload)) + payload


def message(command, sender, length, payload):
    """Start mark, command, sender, length, sequence 0, check byte, 1536 bytes of payload."""
    check = 0xAA ^ 0xBB ^ command ^ sender ^ 0 ^ length & 0xFF
    return struct.pack("<BBBBHIB", 0xAA, 0xBB, command, sender, length, 0, check) + payload.ljust(1536, b"\0")


def audio_message(sender, number):
    return message(0, sender, 1536, planar_payload(number))


def write(name, shape):
    content = b"".join(shape(number) for number in range(PERIODS))
    (pathlib.Path(__file__).parent / name).write_bytes(content)
    print(name, len(content))


write("card.bin", card_period)
write("planar.bin", planar_payload)
write("records.bin", stream_record)
write("messages-to-peer.bin", lambda number: audio_message(0, number))
write("messages-from-peer.bin", lambda number: audio_message(1, number))
write("recording.pcm", recorded_period)

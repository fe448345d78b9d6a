#!/usr/bin/env python3
"""A line of some length: carries connections to another port, each byte MS milliseconds later, in each direction.
usage: bench/delay.py PORT TARGET_PORT MS     (on 127.0.0.1; ends when it is killed)"""
import asyncio
import socket
import sys


async def carry(reader, writer, delay):
    queue = asyncio.Queue()

    async def deliver():
        loop = asyncio.get_running_loop()
        while True:
            due, data = await queue.get()
            await asyncio.sleep(max(0, due - loop.time()))
            if not data:
                if writer.can_write_eof():
                    writer.write_eof()
                return
            writer.write(data)
            await writer.drain()

    task = asyncio.create_task(deliver())
    try:
        while True:
            data = await reader.read(65536)
            queue.put_nowait((asyncio.get_running_loop().time() + delay, data))
            if not data:
                break
        await task
    except OSError:
        task.cancel()


async def serve(near_reader, near_writer, port, delay):
    # The way there and back of the connection itself.
    await asyncio.sleep(2 * delay)
    far_reader, far_writer = await asyncio.open_connection("127.0.0.1", port)
    for writer in (near_writer, far_writer):
        writer.get_extra_info("socket").setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    try:
        await asyncio.gather(carry(near_reader, far_writer, delay), carry(far_reader, near_writer, delay))
    except OSError:
        pass
    for writer in (near_writer, far_writer):
        writer.close()


async def main(port, target, delay):
    server = await asyncio.start_server(lambda r, w: serve(r, w, target, delay), "127.0.0.1", port)
    async with server:
        await server.serve_forever()


asyncio.run(main(int(sys.argv[1]), int(sys.argv[2]), float(sys.argv[3]) / 1000))

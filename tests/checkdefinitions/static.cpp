// A program without any library.

extern "C" void _start();

extern "C" void _start()
{
}

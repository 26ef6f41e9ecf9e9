// A program that uses no library.

extern "C" void _start();

extern "C" void _start()
{
}

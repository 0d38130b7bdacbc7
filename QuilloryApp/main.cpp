#include "QuilloryApp/Shell/QuilloryApplication.h"

int main(int argc, char** argv)
{
    Quillory::QuilloryApplication application;
    return application.run(argc, argv);
}

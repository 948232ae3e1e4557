# The stock command line tools against the simulated device.
quillbox_python_test(stock_tools 180)

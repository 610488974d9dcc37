// Steps over `length` words of four bytes. While `busy`, `offset` is the distance in bytes of the word at hand.
module vadd_walker (
    input  wire        clk,
    input  wire        rst_n,
    input  wire        start,
    input  wire [31:0] length,
    input  wire        step,
    output wire        busy,
    output wire [63:0] offset
);
    reg [31:0] index, count;

    assign busy = index != count;
    assign offset = {30'b0, index, 2'b00};

    always @(posedge clk)
        if (!rst_n) begin
            index <= 0;
            count <= 0;
        end else if (start) begin
            index <= 0;
            count <= length;
        end else if (step) begin
            index <= index + 1;
        end
endmodule
